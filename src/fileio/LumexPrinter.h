#pragma once

#include "elements/UnbuiltModeReader.h"
#include "fileio/PathHint.h"
#include "model/ExceptionBase.h"
#include "platform/Lumex.h"

#include <QList>
#include <QObject>
#include <QPointer>
#include <QString>
#include <QStringList>
#include <QVector>

#include <string>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

namespace Orvex {

class CameraElement;
class ElementBase;
class FeatureElementBase;
class FeatureListFeatureBase;
class LumexTree;
class LumexTreeElement;
class ModeElement;
class ProgressStepper;

// Writes the camera element and the document tree back into a camera file of the shape LumexParser
// reads. Schema content comes from the elements, in schema order: the global features, then each mode
// with its present categories. What the document tree holds beyond the schema (attributes, comments,
// text and elements read from the file) is written at the place it was read, after the schema content
// of that place, unless extra data is not to be preserved. Values are written as they were read while
// nobody changed them, otherwise in their feature's own notation.
//
// With the tree's source (the text the file was read from) and extra data preserved, the document is written
// into that text, which changes only where the content changed (see Lumex::LumexSource). Otherwise the output
// is laid out with two blanks of indentation per level wherever an element holds only elements; inside
// text it is left as it is.
//
// A path hint's path leads to its node: the node's own name is the path element that follows it.
//
// Progress: as LumexParser, the caller begins the stage; every step breathes and may throw
// OperationCanceledException, which leaves the file on disk untouched since nothing is written before
// save().
class LumexPrinter : public QObject
{
    Q_OBJECT

public:
    ORVEX_DECLARE_EXCEPTION(BadPathHintException);
    ORVEX_DECLARE_EXCEPTION(BadPathException);
    ORVEX_DECLARE_EXCEPTION(FeatureLoadErrorException);
    ORVEX_DECLARE_EXCEPTION(UnknownFeatureTypeException);
    ORVEX_DECLARE_EXCEPTION(ModeLoadErrorException);
    ORVEX_DECLARE_EXCEPTION(MissingFeatureException);

    // The stepper (which may be null) and the tree are not owned.
    LumexPrinter(ProgressStepper* a_progress, LumexTree* a_tree, QObject* a_parent = nullptr);
    ~LumexPrinter() override;

    // The schema files of the two standards; the file names its own by file name only.
    void setSchemaPaths(const QString& a_coaXPressXsdPath, const QString& a_cameraLinkXsdPath);
    // On by default. Off, only what the schema describes is written.
    void setPreserveExtraData(bool a_preserve) { m_preserveExtraData = a_preserve; }
    bool preserveExtraData() const { return m_preserveExtraData; }
    // On by default: with the tree's source, the document is written into it. Off, it is laid out anew.
    void setKeepsLayout(bool a_keepsLayout) { m_keepsLayout = a_keepsLayout; }

    // Builds the document anew from a_camera and the tree.
    void print(CameraElement* a_camera);
    // Writes the document; the file is replaced only once the whole document is written, so a failed
    // save leaves it as it was. Each error is logged; false when it failed, and then a_failure (when
    // given) receives the file and why it failed in the user's words, a_report the technical report.
    bool save(const QString& a_path, FailurePlace* a_failure = nullptr, QString* a_report = nullptr) const;
    // The bytes save() writes when the document was written into the file's own text; empty when it is
    // laid out anew, which the markup library writes straight to the file.
    const QByteArray& writtenText() const { return m_text; }

private:
    Lumex::CamProperty printPath(const QStringList& a_path, const PathHint* a_hint);
    void printCamera(CameraElement* a_camera);
    // A mode, or the placeholder of one nobody built (see Placeholder).
    void printModeOrPlaceholder(ModeElement* a_mode);
    // Writes a_mode below its path in the document and returns its element.
    Lumex::CamProperty printMode(ModeElement* a_mode);
    // Writes a_mode into a document of its own, left in a_scratch; returns its element there.
    Lumex::CamProperty printModeApart(ModeElement* a_mode, Lumex::CamFile& a_scratch);
    // Writes the content of a placeholder's mode into it.
    void fillPlaceholder(std::size_t a_index);
    // Writes the document into the file's own text, in m_text; false when it cannot be.
    bool mergeIntoSource();
    // A feature list, or a category printed as a list without an element of its own. Returns the last
    // element written. With a_scopeNode, the list or category is the template of one in a mode that is
    // not built, whose content is read from the tree below that node (see UnbuiltModeReader).
    Lumex::CamProperty printFeatureList(ElementBase* a_list, const PathHint* a_hint,
                                        const LumexTreeElement* a_scopeNode = nullptr);
    Lumex::CamProperty printFeature(FeatureElementBase* a_feature, const PathHint& a_hint,
                                    const LumexTreeElement* a_scopeNode = nullptr);
    // The extra data below a_element (the children the schema does not know) written into a_node.
    void writeTreeContent(Lumex::CamProperty a_node, const LumexTreeElement* a_element);
    void writeLinkedContent(const ElementBase* a_element, Lumex::CamProperty a_node);
    void writeFrameContent();

    // Nodes linked to elements, chained per element id in tree order.
    struct LinkIndex
    {
        // Per element id, the first and the last of its links.
        std::unordered_map<quint64, std::pair<int, int>> firstAndLast;
        std::vector<int> next;
    };

    // Records which nodes each element is linked to, and where extra data lies, in one walk of the tree.
    // Returns whether the subtree of a_node holds only schema content.
    bool indexTree(const LumexTreeElement* a_node);
    // Indexes the links of the ids in a_only, or of every id when it is null.
    void buildIndex(LinkIndex& a_index, const std::unordered_set<quint64>* a_only) const;
    const LumexTreeElement* linkAt(const LinkIndex& a_index, const ElementBase* a_element,
                                   int a_position) const;
    // The a_index-th tree node linked to a_element, in tree order; null past the last, and null for an
    // element none of whose nodes holds extra data, whatever it is linked to.
    const LumexTreeElement* linkedNode(const ElementBase* a_element, int a_index) const;
    // The node read for instance a_instance of a_list, made of a_members; null for an instance that was
    // not read, and for one whose node cannot hold extra data.
    const LumexTreeElement* instanceNode(const FeatureListFeatureBase* a_list, size_t a_instance,
                                         const QVector<FeatureElementBase*>& a_members);

    void breathe();
    void step(const QString& a_detail);

    Lumex::CamFile m_document;
    UnbuiltModeReader m_unbuiltReader;
    QPointer<ProgressStepper> m_progress;
    QPointer<LumexTree> m_tree;
    QString m_coaXPressXsdPath;
    QString m_cameraLinkXsdPath;
    bool m_preserveExtraData = true;
    // Every node with an element id, in tree order; the tree is walked once per save, since each visit
    // of its nodes costs a cache miss.
    std::vector<std::pair<quint64, const LumexTreeElement*>> m_links;
    // The elements linked to a node holding extra data or to a child of one: extra data is written only
    // from their nodes (a list instance's from its members' parent), so only their links are indexed up
    // front, and every link only when a list instance needs them.
    std::unordered_set<quint64> m_nearExtra;
    LinkIndex m_nearIndex;
    LinkIndex m_allIndex;
    bool m_allIndexed = false;
    // The nodes holding, themselves or below them, anything the schema does not know: everywhere else
    // there is no extra data to look for.
    std::unordered_set<const LumexTreeElement*> m_extraBelow;
    // The child last found or made at each depth of a path: features in a row mostly share their holder,
    // and finding a child by name walks its siblings. Children are only ever appended while printing, so
    // the first child of a name stays the first.
    struct PathStep
    {
        Lumex::CamProperty parent;
        QString name;
        Lumex::CamProperty child;
    };
    std::vector<PathStep> m_pathSteps;
    // A mode nobody built is written, where the file's own text is kept, as an empty element standing for
    // its content: the text holds that content as it is, unless the mode's signature says otherwise.
    struct Placeholder
    {
        Lumex::CamProperty element;
        std::size_t signature = 0;
        ModeElement* mode = nullptr;
        std::string name;
        bool filled = false;
    };
    bool m_placeholding = false;
    std::vector<Placeholder> m_placeholders;
    bool m_keepsLayout = true;
    // The source with the document written into it; empty when the document is laid out anew.
    QByteArray m_text;
};

} // namespace Orvex

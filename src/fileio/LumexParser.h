#pragma once

#include "fileio/PathHint.h"
#include "model/ExceptionBase.h"
#include "platform/Lumex.h"

#include <QHash>
#include <QObject>
#include <QPair>
#include <QPointer>
#include <QSet>
#include <QString>
#include <QStringList>
#include <QVariant>
#include <QVector>

#include <cstddef>
#include <vector>

namespace Orvex {

class CameraElement;
class ElementBase;
class CategoryElementBase;
class FeatureElementBase;
class GenericModeCategory;
class LumexTree;
class LumexTreeElement;
class ModeElement;
class ProgressStepper;
class ValueFeatureElementBase;

// Reads one camera file into the camera element built from its schema and into the document tree.
//
// The file's frame is fixed: "quarnel_config" > "camera" > "features" holds the global features and
// "quarnel_config" > "camera" > "modes" one "mode" element per mode, named by its "name" attribute.
// Below those, every category and feature element names the markup element that holds it by its
// elementPath: a feature is a child element of that name (one per instance when it may repeat), or an
// attribute of the holder for an attribute feature; a feature without a name is the holder's own text. A
// mode category is an optional element of the mode, holding the category's features.
//
// Values are taken exactly: a text that is no value of its feature is refused, and a number outside
// its feature's range is kept as written and reported once per file as a queued message of the
// window. Everything the schema does not describe (attributes, comments, text, elements) is copied into
// the document tree beside the schema-known nodes, which are linked to their elements by id, so that
// saving writes it back at its place. White space that only lays out elements is no content and is
// left out; the printer lays its output out anew.
//
// A path hint's path leads to its node: the node's own name is the path element that follows it.
//
// Progress: the caller begins the stage of the stepper; the parser steps it and names what it reads
// as the stage's detail. Every lookup breathes, so the user can cancel (OperationCanceledException).
// Without a stepper the parser runs without progress and cannot be cancelled.
class LumexParser : public QObject
{
    Q_OBJECT

public:
    ORVEX_DECLARE_EXCEPTION(LumexLoadException);
    ORVEX_DECLARE_EXCEPTION(BadPathHintException);
    ORVEX_DECLARE_EXCEPTION(BadPathException);
    ORVEX_DECLARE_EXCEPTION(BadFeatureException);
    ORVEX_DECLARE_EXCEPTION(InstanceCountException);
    ORVEX_DECLARE_EXCEPTION(BadValueException);
    ORVEX_DECLARE_EXCEPTION(BadCategoryException);
    ORVEX_DECLARE_EXCEPTION(BadCameraException);
    ORVEX_DECLARE_EXCEPTION(BadCameraObjectException);
    ORVEX_DECLARE_EXCEPTION(BadModeException);

    // Loads the file; throws LumexLoadException with the markup library's diagnostics as an HTML list
    // when it cannot. The tree and the stepper (which may be null) are not owned.
    LumexParser(const QString& a_path, LumexTree* a_tree, ProgressStepper* a_progress);
    ~LumexParser() override;

    // Why a_hint cannot start a lookup of a_path (longer than the path, or not leading along it); empty
    // when it can. The printer checks its hints the same way.
    static QString pathHintProblem(const QStringList& a_path, const PathHint& a_hint);

    // Whether the text of "quarnel_config" > "camera" > "features" > "standard" names the standard,
    // without regard to case; false when it is missing. Neither throws.
    bool isCoaXPress() const;
    bool isCameraLink() const;
    // Where and why the file is no camera file of either standard; meaningful when neither is true.
    FailurePlace standardProblem() const;

    // Fills a_camera, which holds the schema's templates and exactly one mode, and the document tree
    // from the file. A failure leaves both partly filled, for the caller to discard.
    //
    // With a tree, the modes are left unbuilt (see ModeElement::isBuilt): the template mode becomes the
    // camera's mode template, each mode's content goes into its node of the tree, checked against the
    // template with every check a built mode's reading makes, and the camera gets a mode builder that
    // fills a mode from its node when the mode is first used. Without a tree every mode is built.
    void parse(CameraElement* a_camera);

    // How a feature reads a_value, the text of a value in a file without the white space around it: the
    // value it then holds (none for a boolean spelled otherwise, which keeps the value it had), whether
    // it keeps the text as read beside that value (an empty element standing for its declaration's
    // value, or a text it cannot take as it is), and why it cannot hold it at all, empty when it can.
    struct ValueReading
    {
        QVariant value;
        bool keepsText = false;
        QString refusal;
    };
    static ValueReading readingOf(const ValueFeatureElementBase* a_feature, const QString& a_value);

    // Fills the unbuilt a_mode from its node of a_tree, as a loaded file's mode builder does: copies of
    // the template's categories, then the values, read from the node's schema content.
    static void buildMode(ModeElement* a_mode, LumexTree* a_tree);

private:
    // For building a mode: the document is made from the tree.
    explicit LumexParser(LumexTree* a_tree);

    // The node at a_path, from the hint's node when there is a hint, else from the root; null when
    // the file has none.
    Lumex::ConstCamProperty parsePath(const QStringList& a_path, const PathHint* a_hint);
    void parseModes(CameraElement* a_camera);
    void parseCategory(CategoryElementBase* a_category, const PathHint* a_hint);
    // Whether a mode category is in the file, linking its element when it is.
    bool parseCategoryPresence(GenericModeCategory* a_category, const PathHint& a_modeHint);
    void parseFeature(FeatureElementBase* a_feature, const PathHint& a_hint);
    // Stores the value of a_text in instance a_index, keeping a value out of range as read; why the feature
    // cannot hold it otherwise, empty when it can.
    QString readValue(ValueFeatureElementBase* a_feature, size_t a_index, const QString& a_text);
    QString readTrimmedValue(ValueFeatureElementBase* a_feature, size_t a_index, const QString& a_value);
    void populateNonSchemaCompliant(CameraElement* a_camera, const Lumex::CamProperty& a_node,
                                    LumexTreeElement* a_treeElement);

    // Where a_node is, for a failure at the feature (or category) whose element path is a_path: the
    // file, the node's line, the mode being read, and a_problem in the user's words.
    FailurePlace placeOf(const Lumex::ConstCamProperty& a_node, const QStringList& a_path,
                         const QString& a_problem) const;

    // Links a_node (when there is one) to a_element, and notes on it whether its value is the element's,
    // which the walk over the rest of the content must not keep a second time as text.
    void link(LumexTreeElement* a_node, const ElementBase* a_element, bool a_holdsValue = false);

    bool standardIs(const QString& a_standard) const;
    void breathe();
    void step(const QString& a_detail);

    Lumex::CamFile m_file;
    QString m_path;
    // The mode being read; empty while global features are.
    QString m_mode;
    QPointer<LumexTree> m_tree;
    QPointer<ProgressStepper> m_progress;
    // The document tree node of each mode as the file names it, for the walk over content the schema does
    // not know, which meets every mode again.
    QHash<QString, LumexTreeElement*> m_modeNodesByName;
    // Set while an unbuilt mode is read: its content goes into the tree and is checked, and the template
    // features that describe it are left as they are.
    bool m_dry = false;
    // The holder of the feature read last, with the hint and path it was found from.
    struct LastHolder
    {
        bool known = false;
        Lumex::ConstCamProperty from;
        LumexTreeElement* treeFrom = nullptr;
        QStringList path;
        Lumex::ConstCamProperty holder;
        LumexTreeElement* treeHolder = nullptr;
    };
    LastHolder m_lastHolder;
    // The texts each template feature was found to take while unbuilt modes were read.
    QSet<QPair<const void*, QString>> m_accepted;
    // Set while a mode is built from the tree, whose nodes keep the lines they were read from.
    bool m_keepsLines = false;
};

} // namespace Orvex

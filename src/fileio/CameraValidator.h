#pragma once

#include "elements/ElementLocator.h"
#include "elements/UnbuiltModeReader.h"
#include "fileio/ValidationProblem.h"

#include <QByteArray>
#include <QHash>
#include <QRegExp>
#include <QSet>
#include <QString>
#include <QStringList>
#include <QVector>

namespace Orvex {

class CameraElement;
class CategoryElementBase;
class FeatureElementBase;
class FeatureListFeatureBase;
class LumexTree;
class LumexTreeElement;
class ModeElement;
class ValueFeatureElementBase;

// Lists everything in a camera, as the editor holds it, that its schema rejects or that looks wrong:
// values outside their type or facets, spellings the type forbids, broken patterns and lengths, values
// outside an enumeration or a fixed value, instance counts outside their bounds, duplicate keys, bad or
// duplicate mode names, and the content the schema does not know (kept, and listed as warnings). It
// reads values as they would be written, so a value read from the file is judged by its own text.
//
// The checks are split by scope so that an edit costs one scope: the global features, one mode, the
// mode names, the unknown content. Lines come from the document tree the file was read into.
class CameraValidator
{
public:
    // Within one holder, no two instances of the feature list a_selector may share the value of their
    // member a_field (an attribute when it starts with "@").
    struct UniqueKey
    {
        QString selector;
        QString field;
    };
    // What the validator needs of a schema beyond the features built from it: the keys it declares
    // (apart from the mode names, which are always checked), and every element and attribute it declares
    // as "parent/name" or "parent/@name" with its enumeration, if any. The editor does not model every
    // declaration (the camera's "standard" attribute, say); content it keeps that the schema declares
    // is no unknown content.
    struct SchemaFacts
    {
        QVector<UniqueKey> keys;
        QHash<QString, QStringList> declared;
    };
    static SchemaFacts readSchema(const QString& a_schemaPath);

    // Neither is owned; without a tree there are no lines and no unknown content.
    CameraValidator(const CameraElement* a_camera, const LumexTree* a_tree,
                    const SchemaFacts& a_schema = SchemaFacts());
    ~CameraValidator();

    // Every problem, in document order: the global features, then each mode (its name, its features,
    // its unknown content), then unknown content elsewhere.
    QVector<ValidationProblem> checkAll();
    QVector<ValidationProblem> checkGlobal();
    QVector<ValidationProblem> checkMode(const ModeElement* a_mode);
    QVector<ValidationProblem> checkModeNames();
    // By mode name; the empty name holds what stands outside any mode.
    QHash<QString, QVector<ValidationProblem>> checkUnknownContent();

    static int count(const QVector<ValidationProblem>& a_problems, ValidationProblem::Severity a_severity);
    // a_problems by the line they were read from; problems of edited content have no line and keep
    // their order after those read from the file.
    static QVector<ValidationProblem> byLine(QVector<ValidationProblem> a_problems);

private:
    // Where a feature stands: below the element path scope, inside the list instance outer, if any. The
    // path is spelled out only for a problem: nearly every value has none.
    struct Place
    {
        const FeatureElementBase* feature = nullptr;
        const QStringList* scope = nullptr;
        const Place* outer = nullptr;
        // The instance of the feature, when it is a list whose members stand below it.
        size_t instance = 0;
        // For a feature of a mode that is not built: the node its path is looked up from, and its
        // position in its category or list instance, from which the place its element will have, which
        // its problems point at, is found.
        const LumexTreeElement* scopeNode = nullptr;
        int position = -1;

        // The feature's holder, as a problem's path shows it.
        QString holder() const;
        // What the members of this list instance stand below.
        QString memberPrefix() const;
    };

    // Where a feature of a mode that is not built stands: its place, or with member set, that member of
    // instance `instance` of the list at place, and the nodes of the feature's instances.
    struct Spot
    {
        const Place* place = nullptr;
        size_t instance = 0;
        int member = -1;
        QVector<const LumexTreeElement*> nodes;
    };
    // Where the element of the feature at a_place will stand once its mode is built.
    ElementLocator locatorOf(const Place& a_place) const;

    void checkCategory(const CategoryElementBase* a_category, const QStringList& a_scopePath);
    // A mode that is not built, read through the camera's mode template from its node of the tree.
    void checkUnbuiltMode(const ModeElement* a_mode, const QStringList& a_scopePath);
    void checkFeature(const Place& a_place);
    // a_name is the value's name as a path shows it ("@" before an attribute's); a_text and a_value are
    // the instance's text, trimmed, and value. a_spot is null for a built feature.
    void checkValue(const ValueFeatureElementBase* a_feature, size_t a_index, const Place& a_place,
                    const QString& a_name, const QString& a_text, const QVariant& a_value,
                    const Spot* a_spot);
    // The value a feature holds once it has read a_text (trimmed) from a file.
    static QVariant readValue(const ValueFeatureElementBase* a_feature, const QString& a_text);
    // The path of a_feature's holder below the scope a_holderPath, after a_prefix.
    static QString holderPath(const FeatureElementBase* a_feature, const QStringList& a_holderPath,
                              const QString& a_prefix);
    // a_spot (null for a built list) has the nodes of the list's instances.
    void checkUniqueKeys(const FeatureListFeatureBase* a_list, const Place& a_place, const Spot* a_spot);
    // a_pattern's exact match, remembered per value: modes mostly repeat each other's strings.
    bool matchesPattern(const QRegExp& a_pattern, const QString& a_value);
    void add(ValidationProblem::Severity a_severity, const FeatureElementBase* a_feature, size_t a_index,
             const QString& a_path, const QString& a_message, const Spot* a_spot);
    void collectUnknown(const LumexTreeElement* a_node, const QString& a_mode,
                        const LumexTreeElement* a_pathStart,
                        QHash<QString, QVector<ValidationProblem>>& a_found) const;
    // Where the user can look for a problem at a_node.
    ElementLocator nearestKnown(const LumexTreeElement* a_node) const;
    // Where the element that building the unbuilt a_mode links to a_node, below the mode's node
    // a_modeNode, will stand; leads nowhere when building links no element to it.
    ElementLocator unbuiltLink(const ModeElement* a_mode, const LumexTreeElement* a_modeNode,
                               const LumexTreeElement* a_node) const;
    // The path a problem at a_node shows: the names from below a_start down to it, the global features'
    // own element left out when a_global.
    QString unknownPath(const LumexTreeElement* a_node, const LumexTreeElement* a_start, bool a_global) const;
    int lineOf(const FeatureElementBase* a_feature, size_t a_index);

    const CameraElement* m_camera = nullptr;
    const LumexTree* m_tree = nullptr;
    SchemaFacts m_schema;
    // The global features' element path, "/"-joined, for the walk over unknown content.
    QString m_globalPath;
    // The scope being checked, and for a mode that is not built, the category's place.
    QString m_mode;
    ElementLocator m_categoryLocator;
    QVector<ValidationProblem> m_found;
    // Element id to the lines of its instances, in order; built on first use.
    QHash<quint64, QVector<int>> m_lines;
    // Per shared pattern, the values that matched it during this validator's life; the patterns belong to
    // the features, which outlive a check.
    struct MatchedValues
    {
        QString pattern;
        QSet<QString> values;
    };
    QHash<const QRegExp*, MatchedValues> m_matched;
    bool m_linesBuilt = false;
    UnbuiltModeReader m_unbuiltReader;
    // The bytes, as read, of unbuilt modes' values that a template feature found no problem with.
    QSet<QPair<const void*, QByteArray>> m_cleanValues;
};

} // namespace Orvex

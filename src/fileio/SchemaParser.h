#pragma once

#include "fileio/SchemaParserHintNode.h"
#include "model/ExceptionBase.h"
#include "platform/Lumex.h"

#include <QMap>
#include <QObject>
#include <QPointer>
#include <QString>
#include <QStringList>
#include <QVariant>

#include <cstddef>
#include <memory>
#include <vector>

namespace Orvex {

class CameraElement;
class CategoryElementBase;
class ElementBase;
class FeatureElementBase;
class LumexTree;
class LumexTreeElement;
class ModeElement;
class ProgressStepper;
class QNBrdDataSource;
class RegisterFeatureWiring;

// Reads a camera-file schema (the fixed XSD subset the editor understands) into a camera element: the
// global category, the mode template with its categories, and one feature element per schema feature with
// its bounds, type restrictions, default or fixed value and documentation. Alongside, it records in the
// document tree every element and attribute path the schema knows. Anything outside the subset ends the
// load with one of the kinds below; the partly built camera is then the caller's to discard.
//
// A feature's elementPath is the list of element names, from "quarnel_config", of the markup element that
// holds it in a camera file; it is taken from the names met on the way down the schema.
//
// Progress: the caller begins the stage of the progress stepper (with an unknown step count, since the
// number of features is only known while reading); the parser steps it once per category and once per
// feature and shows what it builds as the stage's detail text. Every step may throw
// OperationCanceledException. Without a stepper the parser runs without progress and cannot be cancelled.
class SchemaParser : public QObject
{
    Q_OBJECT

public:
    ORVEX_DECLARE_EXCEPTION(XsdLoadException);
    ORVEX_DECLARE_EXCEPTION(NullPropertyException);
    ORVEX_DECLARE_EXCEPTION(ChildNotFoundException);
    ORVEX_DECLARE_EXCEPTION(UnknownFeatureTypeException);
    ORVEX_DECLARE_EXCEPTION(BadChildTypeException);
    ORVEX_DECLARE_EXCEPTION(MissingAttributeException);
    ORVEX_DECLARE_EXCEPTION(NullValueException);
    ORVEX_DECLARE_EXCEPTION(BadValueException);
    ORVEX_DECLARE_EXCEPTION(MismatchedAttributeException);
    ORVEX_DECLARE_EXCEPTION(UnknownFeatureClassException);

    // What the schema says of one feature element or attribute.
    struct FeatureProperties
    {
        size_t minOccurs = 1;
        // FeatureElementBase::Unbounded for "unbounded".
        size_t maxOccurs = 1;
        bool isAttribute = false;
        QStringList schemaPath;
        QString name;
        QVariant defaultValue;
        QVariant fixedValue;
        QString documentation;
    };

    // Builds the path-hint table and loads the schema file; nothing is read from it yet. a_owner becomes
    // the Qt parent. The tree and the stepper (which may be null) are not owned. Throws XsdLoadException,
    // with the markup library's diagnostics as an HTML list, when the file cannot be loaded.
    SchemaParser(QObject* a_owner, LumexTree* a_tree, ProgressStepper* a_progress,
                 const QString& a_schemaPath);
    ~SchemaParser() override;

    // The board whose registers the register-write features offer. Without one, those features get only
    // the helpers that need no board: the decimal-to-hexadecimal observer, and not the register name and
    // value completions nor the observers that read register values. Set it before loadCamera.
    void setBoardDataSource(QNBrdDataSource* a_dataSource);
    QNBrdDataSource* boardDataSource() const;

    // Reads the whole schema into a_camera, once. The register helpers it makes are Qt children of
    // a_camera, since the features use them as long as the camera lives.
    void loadCamera(CameraElement* a_camera);

    // The path-hint table, whose root stands above "quarnel_config". The file parser and the printer
    // read it; looking a path up in it adds what is missing.
    SchemaParserHintNode& pathHints() { return m_pathHints; }
    const SchemaParserHintNode& pathHints() const { return m_pathHints; }

    // The "name" attributes of the schema nodes between the root and the current position; empty
    // whenever no step is running.
    QStringList names() const { return m_names; }

private:
    class PositionGuard;

    using AttributeMap = QMap<QString, QString>;

    // Makes current the first child of the current node named a_name that has every attribute of the map
    // with that value and, when a_exact, no other attribute. Where nothing matches, the position stays.
    void goToChild(const QString& a_name, const AttributeMap& a_attributes = AttributeMap(),
                   bool a_exact = false);
    // Makes a_node current, taking its name into the names.
    void enter(const Lumex::ConstCamProperty& a_node);
    void savePosition();
    void restorePosition();

    void loadCategories(ModeElement* a_mode);
    // With the category's element current.
    void loadCategoryFeatures(CategoryElementBase* a_category, FeatureElementBase* a_categoryFeature);
    // The children of the current complex type or named type, into a_container.
    void loadComplexContent(ElementBase* a_container);
    void loadFeature(const Lumex::ConstCamProperty& a_node, ElementBase* a_container);
    FeatureProperties loadFeatureProperties();
    FeatureElementBase* makeTypedFeature(const QString& a_type, const FeatureProperties& a_properties,
                                         ElementBase* a_container);
    FeatureElementBase* makeSimpleFeature(const QString& a_base, const FeatureProperties& a_properties,
                                          ElementBase* a_container);
    FeatureElementBase* makeComplexFeature(const FeatureProperties& a_properties, ElementBase* a_container);
    // Null for a type name that no value feature stands for.
    FeatureElementBase* createTypedFeature(const QString& a_type, ElementBase* a_container);
    void applyProperties(FeatureElementBase* a_feature, const FeatureProperties& a_properties);

    // The first "xs:documentation" of the first "xs:annotation" of the current node.
    QString readDocumentation() const;
    // The holder's path of the current node: the names without the current node's own.
    QStringList positionPath() const;
    void step();
    void report(const QString& a_text);

    // Records a path the schema knows in the document tree; null without a tree.
    LumexTreeElement* recordPath(const QStringList& a_path);
    // The element children of the current node, in document order.
    std::vector<Lumex::ConstCamProperty> childElements() const;
    bool hasChild(const char* a_name) const;
    // The current node's attribute a_name; false when it is absent.
    bool attribute(const char* a_name, QString* a_value) const;
    QString currentName() const;

    Lumex::CamFile m_schema;
    Lumex::ConstCamProperty m_position;
    struct SavedPosition
    {
        Lumex::ConstCamProperty node;
        int nameCount = 0;
    };
    std::vector<SavedPosition> m_savedPositions;
    QStringList m_names;
    SchemaParserHintNode m_pathHints;

    QPointer<LumexTree> m_tree;
    QPointer<ProgressStepper> m_progress;
    // Holds the board and makes the register helpers, Qt children of the camera being loaded.
    std::unique_ptr<RegisterFeatureWiring> m_registerWiring;
};

} // namespace Orvex

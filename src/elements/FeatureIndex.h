#pragma once

#include <QString>
#include <QStringList>
#include <QVector>

#include <cstddef>
#include <functional>

namespace Orvex {

class CameraElement;
class CategoryElementBase;
class LumexTreeElement;
class FeatureElementBase;
class ModeElement;
class ValueFeatureElementBase;

// The values of a category read from its elements alone, so that finding and comparing never build a
// page the user has not opened. Each value is named by the path it has in the written file below its
// scope, as orvex-tool dump names it: element names joined with "/", an attribute as "@name", "[i]"
// after a repeated feature and each instance of a repeated list, and the text of an element that also
// has attributes under the element's own path.
class FeatureIndex
{
public:
    static constexpr size_t NoInstance = size_t(-1);

    struct Entry
    {
        const ValueFeatureElementBase* feature = nullptr;
        // The feature of the category that holds this value: the feature itself, or the outermost list
        // around it; its position among the category's features.
        int topFeature = -1;
        // NoInstance for a feature without instances, which only a visit that asks for them lists.
        size_t instance = NoInstance;
        QString path;
        // What a search by name looks at: the feature's name, or for an unnamed text, its element's.
        QString name;
        QString value;
        // The way from the category to the feature, as an ElementLocator goes: the feature's position,
        // then for a list member the instance and the member's position.
        QVector<int> steps;
    };

    using Visitor = std::function<void(const Entry&)>;

    // The element path a scope's own element stands at: the camera's global category, or a mode.
    static QStringList scopePath(const CameraElement* a_camera);
    static QStringList scopePath(const ModeElement* a_mode);

    // Hands every value of a_category to a_visitor, in the order of the category's features, instances
    // in order. With a_withAbsent, a value feature that has no instance is handed over once, without
    // value; lists without instances have nothing to hand over.
    static void visit(const CategoryElementBase* a_category, const QStringList& a_scopePath,
                      bool a_withAbsent, const Visitor& a_visitor);
    // The same for a category of a mode that is not built: a_template is the category of the camera's
    // mode template, the values are read from the mode's node a_modeNode (see UnbuiltModeReader), and the
    // entries name the template's features.
    static void visitUnbuilt(const CategoryElementBase* a_template, const LumexTreeElement* a_modeNode,
                             const QStringList& a_scopePath, bool a_withAbsent, const Visitor& a_visitor);

    // Whether a category's features go into the file at all: a mode category switched off keeps its
    // values, but they are not written.
    static bool isPresent(const CategoryElementBase* a_category);
};

} // namespace Orvex

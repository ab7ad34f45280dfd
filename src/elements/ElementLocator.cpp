#include "elements/ElementLocator.h"

#include "elements/CameraElement.h"
#include "elements/CameraGlobalCategory.h"
#include "elements/FeatureListFeatureBase.h"
#include "elements/GenericModeCategory.h"
#include "elements/ModeElement.h"
#include "elements/WindowElement.h"

#include <QStringList>

namespace Orvex {

namespace {

struct StepUp
{
    const ElementBase* parent = nullptr;
    // From the parent down to the element.
    QVector<int> steps;
};

// The element one level up and the steps that lead back down; no parent when a_element is not where
// its parent's lists say (a mode kept by an undo command, a member template) or has nothing above.
StepUp stepUp(const ElementBase* a_element)
{
    StepUp up;
    if (const auto* feature = qobject_cast<const FeatureElementBase*>(a_element)) {
        const ElementBase* above = feature->parentElement();
        if (const auto* list = qobject_cast<const FeatureListFeatureBase*>(above)) {
            size_t instance = 0;
            size_t member = 0;
            if (list->memberPosition(feature, &instance, &member))
                up = {list, {int(instance), int(member)}};
        } else if (const auto* generic = qobject_cast<const GenericModeCategory*>(above);
                   generic && generic->categoryFeature() == feature) {
            up = {generic, {ElementLocator::SpecialChild}};
        } else if (const auto* category = qobject_cast<const CategoryElementBase*>(above)) {
            const int position = category->features().indexOf(const_cast<FeatureElementBase*>(feature));
            if (position >= 0)
                up = {category, {position}};
        }
    } else if (const auto* modeCategory = qobject_cast<const ModeCategoryElementBase*>(a_element)) {
        const ModeElement* mode = modeCategory->mode();
        const int position = mode ? mode->indexOfCategory(modeCategory) : -1;
        if (position >= 0)
            up = {mode, {position}};
    } else if (const auto* global = qobject_cast<const CameraGlobalCategory*>(a_element)) {
        if (global->camera())
            up = {global->camera(), {ElementLocator::SpecialChild}};
    } else if (const auto* mode = qobject_cast<const ModeElement*>(a_element)) {
        const CameraElement* camera = mode->camera();
        const int position = camera ? camera->indexOfMode(mode) : -1;
        if (position >= 0)
            up = {camera, {position}};
    } else if (const auto* camera = qobject_cast<const CameraElement*>(a_element)) {
        if (camera->windowElement())
            up = {camera->windowElement(), {0}};
    }
    return up;
}

bool isCategoryFeature(const ElementBase* a_element)
{
    const auto* feature = qobject_cast<const FeatureElementBase*>(a_element);
    const auto* generic =
        feature ? qobject_cast<const GenericModeCategory*>(feature->parentElement()) : nullptr;
    return generic && generic->categoryFeature() == feature;
}

} // namespace

ElementLocator ElementLocator::locate(const ElementBase* a_root, const ElementBase* a_element)
{
    ElementLocator locator;
    if (!a_root || !a_element)
        return locator;
    QVector<QVector<int>> levels;
    for (const ElementBase* current = a_element; current != a_root;) {
        StepUp up = stepUp(current);
        if (!up.parent)
            return locator;
        levels.prepend(up.steps);
        current = up.parent;
    }
    for (const QVector<int>& level : qAsConst(levels))
        locator.m_steps += level;
    locator.m_valid = true;
    return locator;
}

ElementBase* ElementLocator::resolve(ElementBase* a_root) const
{
    if (!m_valid || !a_root)
        return nullptr;
    ElementBase* current = a_root;
    for (int next = 0; current && next < m_steps.size(); ++next) {
        const int step = m_steps.at(next);
        if (auto* window = qobject_cast<WindowElement*>(current)) {
            current = step == 0 ? window->camera() : nullptr;
        } else if (auto* camera = qobject_cast<CameraElement*>(current)) {
            if (step == SpecialChild)
                current = camera->globalCategory();
            else
                current = camera->mode(step);
        } else if (auto* mode = qobject_cast<ModeElement*>(current)) {
            current = mode->category(step);
        } else if (auto* list = qobject_cast<FeatureListFeatureBase*>(current)) {
            if (++next >= m_steps.size() || step < 0 || m_steps.at(next) < 0)
                return nullptr;
            current = list->member(size_t(step), size_t(m_steps.at(next)));
        } else if (auto* category = qobject_cast<CategoryElementBase*>(current)) {
            auto* generic = qobject_cast<GenericModeCategory*>(category);
            if (step == SpecialChild)
                current = generic ? generic->categoryFeature() : nullptr;
            else
                current = category->features().value(step);
        } else {
            current = nullptr;
        }
    }
    return current;
}

ElementLocator ElementLocator::child(int a_step) const
{
    ElementLocator further = *this;
    if (further.m_valid)
        further.m_steps.append(a_step);
    return further;
}

QString ElementLocator::namePath(const ElementBase* a_element)
{
    QStringList names;
    for (const ElementBase* current = a_element; current; current = stepUp(current).parent) {
        if (qobject_cast<const CameraElement*>(current) || qobject_cast<const WindowElement*>(current))
            break;
        if (!current->name().isEmpty() && !isCategoryFeature(current))
            names.prepend(current->name());
    }
    return names.join(QStringLiteral(" > "));
}

} // namespace Orvex

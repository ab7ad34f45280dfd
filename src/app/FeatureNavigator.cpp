#include "app/FeatureNavigator.h"

#include "app/Window.h"
#include "elements/CameraElement.h"
#include "elements/CameraGlobalCategory.h"
#include "elements/ElementBaseDelayQueue.h"
#include "elements/FeatureListFeatureBase.h"
#include "elements/GenericModeCategory.h"
#include "elements/ModeElement.h"
#include "elements/WindowElement.h"

#include <QCoreApplication>
#include <QEvent>
#include <QRegularExpression>

namespace Orvex {

namespace {

// The page an element stands on: the category nearest the camera on its way up.
CategoryElementBase* pageOf(ElementBase* a_element)
{
    CategoryElementBase* page = nullptr;
    for (QObject* current = a_element; current; current = current->parent()) {
        if (auto* category = qobject_cast<CategoryElementBase*>(current))
            page = category;
        if (qobject_cast<CameraElement*>(current))
            break;
    }
    return page;
}

ElementBase* namedChild(const QVector<FeatureElementBase*>& a_features, const QString& a_name)
{
    for (FeatureElementBase* feature : a_features)
        if (feature->name() == a_name)
            return feature;
    return nullptr;
}

} // namespace

FeatureNavigator::FeatureNavigator(Window* a_window) : QObject(a_window), m_window(a_window)
{
}

FeatureNavigator::~FeatureNavigator() = default;

bool FeatureNavigator::goTo(const ElementLocator& a_locator, size_t a_instance)
{
    WindowElement* window = m_window ? m_window->windowElement() : nullptr;
    return window && goToElement(a_locator.resolve(window->camera()), a_instance);
}

bool FeatureNavigator::goTo(const QString& a_modeName, const QStringList& a_featurePath, size_t a_instance)
{
    WindowElement* window = m_window ? m_window->windowElement() : nullptr;
    return window && goToElement(find(window->camera(), a_modeName, a_featurePath), a_instance);
}

ElementBase* FeatureNavigator::find(const CameraElement* a_camera, const QString& a_modeName,
                                    const QStringList& a_path)
{
    if (!a_camera)
        return nullptr;
    static const QRegularExpression instanceStep(QStringLiteral("^(.*)\\[([0-9]+)\\]$"));
    ElementBase* current = nullptr;
    if (a_modeName.isEmpty())
        current = a_camera->globalCategory();
    else
        current = a_camera->modeByName(a_modeName);
    for (int step = 0; current && step < a_path.size(); ++step) {
        const QString& part = a_path.at(step);
        if (auto* mode = qobject_cast<ModeElement*>(current)) {
            ElementBase* found = nullptr;
            for (ModeCategoryElementBase* category : mode->categories())
                if (!found && category->name() == part)
                    found = category;
            current = found;
        } else if (auto* category = qobject_cast<CategoryElementBase*>(current)) {
            const QRegularExpressionMatch match = instanceStep.match(part);
            current = namedChild(category->features(), match.hasMatch() ? match.captured(1) : part);
            auto* list = qobject_cast<FeatureListFeatureBase*>(current);
            if (match.hasMatch() || list) {
                // A list stands for its first instance unless the step names one.
                const size_t instance = match.hasMatch() ? match.captured(2).toULongLong() : 0;
                if (!list || instance >= list->instanceCount() || step + 1 >= a_path.size())
                    return list && !match.hasMatch() ? list : nullptr;
                ++step;
                current = namedChild(list->instanceMembers(instance), a_path.at(step));
            }
        } else {
            return nullptr;
        }
    }
    return current;
}

bool FeatureNavigator::goToElement(ElementBase* a_element, size_t a_instance)
{
    WindowElement* window = m_window ? m_window->windowElement() : nullptr;
    if (!a_element || !window)
        return false;
    CameraElement* camera = window->camera();
    auto* modeCategory = qobject_cast<ModeCategoryElementBase*>(pageOf(a_element));
    ModeElement* mode = modeCategory ? modeCategory->mode() : qobject_cast<ModeElement*>(a_element);
    if (mode) {
        if (camera->currentMode() != mode)
            camera->activateMode(mode);
        if (modeCategory)
            mode->activateCategory(modeCategory);
    } else {
        camera->setGlobalMode();
    }
    window->recordCurrentPage();
    if (CategoryElementBase* page = pageOf(a_element))
        page->revealFeature(a_element);
    ElementBaseDelayQueue::instance()->flush();
    // A page built just now has not been laid out yet, and scrolling needs its rows where they will be.
    QCoreApplication::sendPostedEvents(nullptr, QEvent::LayoutRequest);

    auto* widgetElement = qobject_cast<WidgetElementBase*>(a_element);
    size_t instance = a_instance;
    // A member shown in a table cell has no editor of its own: the list's row stands for it.
    auto* list =
        widgetElement ? qobject_cast<FeatureListFeatureBase*>(widgetElement->parentElement()) : nullptr;
    if (list && !widgetElement->editorWidget(a_instance) &&
        list->memberPosition(a_element, &instance, nullptr))
        widgetElement = list;
    if (widgetElement) {
        widgetElement->highlight(instance);
        if (QWidget* editor = widgetElement->editorWidget(instance))
            editor->setFocus(Qt::OtherFocusReason);
    }
    m_lastTarget = a_element;
    emit arrived(a_element, a_instance);
    return true;
}

} // namespace Orvex

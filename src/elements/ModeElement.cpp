#include "elements/ModeElement.h"

#include "elements/CameraElement.h"
#include "elements/ModeBuilder.h"
#include "elements/ModeCategoryElementBase.h"
#include "elements/WindowElement.h"

#include <QScopedValueRollback>

#include <algorithm>

namespace Orvex {

ModeElement::ModeElement(CameraElement* a_camera) : ModeElement(nullptr, a_camera)
{
}

ModeElement::ModeElement(const ModeElement* a_source, CameraElement* a_camera)
    : ElementBase(a_source, a_camera), m_camera(a_camera)
{
    if (QObject* mainWindow = a_camera ? a_camera->mainWindow() : nullptr)
        connect(this, SIGNAL(categorySelected(int)), mainWindow, SLOT(setModeCategory(int)));
    if (!a_source)
        return;
    for (const ModeCategoryElementBase* original : a_source->categories())
        appendCategory(original->cloneCategory(this));
    m_currentCategory = category(a_source->indexOfCategory(a_source->currentCategory()));
}

ModeElement::~ModeElement() = default;

ModeElement* ModeElement::clone() const
{
    return m_camera ? new ModeElement(this, m_camera) : nullptr;
}

ModeElement* ModeElement::unbuiltCopy() const
{
    if (!m_camera)
        return nullptr;
    auto* copy = new ModeElement(m_camera);
    copy->setName(name());
    copy->setAnnotation(annotation());
    copy->setElementPath(elementPath());
    copy->m_built = false;
    return copy;
}

const LumexTreeElement* ModeElement::unbuiltContent() const
{
    const ModeBuilder* builder = !m_built && m_camera ? m_camera->modeBuilder() : nullptr;
    return builder ? builder->contentNode(this) : nullptr;
}

void ModeElement::build() const
{
    if (m_built)
        return;
    m_built = true;
    if (ModeBuilder* builder = m_camera ? m_camera->modeBuilder() : nullptr)
        builder->build(const_cast<ModeElement*>(this));
}

CameraElement* ModeElement::camera() const
{
    return m_camera;
}

QVector<ModeCategoryElementBase*> ModeElement::categories() const
{
    build();
    QVector<ModeCategoryElementBase*> living;
    living.reserve(m_categories.size());
    for (const QPointer<ModeCategoryElementBase>& category : m_categories) {
        if (category)
            living.append(category);
    }
    return living;
}

ModeCategoryElementBase* ModeElement::category(int a_position) const
{
    return categories().value(a_position);
}

int ModeElement::indexOfCategory(const ModeCategoryElementBase* a_category) const
{
    return a_category ? categories().indexOf(const_cast<ModeCategoryElementBase*>(a_category)) : -1;
}

ModeCategoryElementBase* ModeElement::currentCategory() const
{
    return m_currentCategory;
}

bool ModeElement::insertCategory(int a_position, ModeCategoryElementBase* a_category)
{
    if (!a_category || a_category->mode() != this || m_categories.contains(a_category))
        return false;
    dropDestroyedCategories();
    const int position =
        a_position < 0 || a_position > m_categories.size() ? m_categories.size() : a_position;
    m_categories.insert(position, a_category);
    return true;
}

void ModeElement::activateCategory(ModeCategoryElementBase* a_category)
{
    const int position = indexOfCategory(a_category);
    if (position < 0 || m_activating)
        return;
    const QScopedValueRollback<bool> activating(m_activating, true);
    if (m_currentCategory && m_currentCategory != a_category)
        m_currentCategory->lower();
    m_currentCategory = a_category;
    if (!isRaised()) {
        // Showing the mode shows its current category and announces it.
        raise();
        return;
    }
    a_category->raise();
    emit categorySelected(position);
}

const WindowElement* ModeElement::windowElement() const
{
    return m_camera ? m_camera->windowElement() : nullptr;
}

WindowElement* ModeElement::windowElement()
{
    return m_camera ? m_camera->windowElement() : nullptr;
}

void ModeElement::selectNextCategory()
{
    stepCategory(true);
}

void ModeElement::selectPrevCategory()
{
    stepCategory(false);
}

void ModeElement::stepCategory(bool a_next)
{
    const QVector<ModeCategoryElementBase*> all = categories();
    const int count = all.size();
    if (count < 2)
        return;
    const int current = all.indexOf(m_currentCategory.data());
    const int target = std::max(0, a_next ? (current + 1) % count : (current + count - 1) % count);
    activateCategory(all.at(target));
    if (WindowElement* window = windowElement())
        window->recordCurrentPage();
}

void ModeElement::onRaise()
{
    const QScopedValueRollback<bool> activating(m_activating, true);
    const QVector<ModeCategoryElementBase*> all = categories();
    for (ModeCategoryElementBase* category : all) {
        if (category != m_currentCategory)
            category->lower();
    }
    if (!m_currentCategory && !all.isEmpty())
        m_currentCategory = all.first();
    if (m_camera) {
        m_camera->activateMode(this);
        m_camera->raise();
    }
    if (m_currentCategory) {
        m_currentCategory->raise();
        emit categorySelected(all.indexOf(m_currentCategory.data()));
    }
}

void ModeElement::onLower()
{
    for (ModeCategoryElementBase* category : categories())
        category->lower();
}

void ModeElement::dropDestroyedCategories()
{
    m_categories.erase(std::remove_if(m_categories.begin(), m_categories.end(),
                                      [](const QPointer<ModeCategoryElementBase>& a_category) {
                                          return a_category.isNull();
                                      }),
                       m_categories.end());
}

} // namespace Orvex

#include "elements/UndoRedoModeClone.h"

#include "elements/CameraElement.h"
#include "elements/ModeElement.h"

namespace Orvex {

namespace {

QVector<ElementBase*> elementsOf(ModeElement* a_mode)
{
    QVector<ElementBase*> elements{a_mode};
    for (ElementBase* element : a_mode->findChildren<ElementBase*>())
        elements.append(element);
    return elements;
}

} // namespace

UndoRedoModeClone::UndoRedoModeClone(ElementBase* a_root, ModeElement* a_source, int a_position)
    : m_root(a_root), m_sourceLocator(ElementLocator::locate(a_root, a_source)), m_position(a_position)
{
    if (!a_source)
        return;
    CameraElement* camera = a_source->camera();
    ModeElement* copy = camera ? camera->mode(a_position) : nullptr;
    if (copy && copy != a_source) {
        for (const ElementBase* element : elementsOf(copy))
            m_cloneIds.append(element->id());
    }
    setDescription(QStringLiteral("Mode cloned (%1)").arg(a_source->name()));
}

UndoRedoModeClone::~UndoRedoModeClone() = default;

ActionBase::Result UndoRedoModeClone::onUnapply()
{
    auto* source = m_sourceLocator.resolveAs<ModeElement>(m_root);
    CameraElement* camera = source ? source->camera() : nullptr;
    ModeElement* copy = camera ? camera->mode(m_position) : nullptr;
    if (!copy || copy == source)
        return Failed;
    delete camera->takeMode(m_position);
    m_sourceLocator = ElementLocator::locate(m_root, source);
    source->raiseLater();
    return Done;
}

ActionBase::Result UndoRedoModeClone::onReapply()
{
    auto* source = m_sourceLocator.resolveAs<ModeElement>(m_root);
    CameraElement* camera = source ? source->camera() : nullptr;
    if (!camera || m_position < 0 || m_position > camera->modeCount())
        return Failed;
    ModeElement* copy = source->clone();
    camera->insertMode(m_position, copy);
    // A copy of the same source has the same elements in the same order; should it differ, only the
    // mode itself can be matched.
    const QVector<ElementBase*> elements = elementsOf(copy);
    const int matched = elements.size() == m_cloneIds.size() ? elements.size() : 1;
    for (int position = 0; position < matched && position < m_cloneIds.size(); ++position)
        elements.at(position)->setId(m_cloneIds.at(position));
    m_sourceLocator = ElementLocator::locate(m_root, source);
    source->raiseLater();
    return Done;
}

} // namespace Orvex

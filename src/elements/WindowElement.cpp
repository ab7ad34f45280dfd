#include "elements/WindowElement.h"

#include "elements/CameraElement.h"
#include "elements/CameraGlobalCategory.h"
#include "elements/ModeCategoryElementBase.h"
#include "elements/ModeElement.h"
#include "elements/NavigationStack.h"
#include "elements/UndoRedoStack.h"
#include "elements/ValueFeatureElementBase.h"

#include <QMetaObject>

namespace Orvex {

WindowElement::WindowElement(QObject* a_mainWindow) : ElementBase(a_mainWindow), m_mainWindow(a_mainWindow)
{
    m_camera = new CameraElement(this);
    m_undoRedoStack = new UndoRedoStack(this);
    m_navigationStack = new NavigationStack(this);
    connect(m_undoRedoStack, &ActionStack::actionEnabled, m_navigationStack,
            &NavigationStack::emit_actionEnabled);

    if (!a_mainWindow)
        return;
    QMetaObject::invokeMethod(a_mainWindow, "setUndoRedoEnabled", Q_ARG(bool, false), Q_ARG(bool, false));
    QMetaObject::invokeMethod(a_mainWindow, "setBackForwardEnabled", Q_ARG(bool, false), Q_ARG(bool, false));

    connect(a_mainWindow, SIGNAL(cameraSelected()), this, SLOT(setCamera()));
    connect(a_mainWindow, SIGNAL(modeSelected(int)), this, SLOT(setMode(int)));
    connect(a_mainWindow, SIGNAL(cameraGlobalSelected()), this, SLOT(setCameraGlobal()));
    connect(a_mainWindow, SIGNAL(categorySelected(int)), this, SLOT(setCategory(int)));

    connect(a_mainWindow, SIGNAL(undo()), m_undoRedoStack, SLOT(unapply()));
    connect(a_mainWindow, SIGNAL(redo()), m_undoRedoStack, SLOT(reapply()));
    connect(m_undoRedoStack, SIGNAL(stateChanged()), a_mainWindow, SLOT(updateDocumentState()));
    connect(m_undoRedoStack, SIGNAL(actionEnabled(bool, bool)), a_mainWindow,
            SLOT(setUndoRedoEnabled(bool, bool)));

    connect(a_mainWindow, SIGNAL(back()), m_navigationStack, SLOT(back()));
    connect(a_mainWindow, SIGNAL(forward()), m_navigationStack, SLOT(forward()));
    connect(m_navigationStack, SIGNAL(stateChanged()), a_mainWindow, SLOT(updateDocumentState()));
    connect(m_navigationStack, SIGNAL(actionEnabled(bool, bool)), a_mainWindow,
            SLOT(setBackForwardEnabled(bool, bool)));
}

WindowElement::~WindowElement() = default;

QObject* WindowElement::mainWindow() const
{
    return m_mainWindow;
}

bool WindowElement::popMessage(QString& a_title, QString& a_text)
{
    if (m_messages.isEmpty()) {
        a_title.clear();
        a_text.clear();
        return false;
    }
    const QPair<QString, QString> message = m_messages.dequeue();
    a_title = message.first;
    a_text = message.second;
    return true;
}

void WindowElement::recordCurrentPage()
{
    ElementBase* page = m_camera->globalCategory();
    if (ModeElement* mode = m_camera->currentMode()) {
        page = mode;
        if (ModeCategoryElementBase* category = mode->currentCategory())
            page = category;
    }
    m_navigationStack->recordVisit(page);
}

void WindowElement::setCamera()
{
    if (!m_camera->currentMode() && m_camera->globalCategory()->isRaised())
        return;
    m_camera->setGlobalMode();
    recordCurrentPage();
}

void WindowElement::setMode(int a_index)
{
    ModeElement* mode = m_camera->mode(a_index);
    if (!mode) {
        queueMessage(QStringLiteral("Unknown Mode Index"),
                     QStringLiteral("Unknown mode index selected, %1.").arg(a_index));
        return;
    }
    if (mode == m_camera->currentMode() && mode->isRaised())
        return;
    m_camera->activateMode(mode);
    recordCurrentPage();
}

void WindowElement::setCameraGlobal()
{
    setCamera();
}

void WindowElement::setCategory(int a_index)
{
    ModeElement* mode = m_camera->currentMode();
    if (!mode)
        return;
    ModeCategoryElementBase* category = mode->category(a_index);
    if (!category) {
        queueMessage(QStringLiteral("Unknown Category Index"),
                     QStringLiteral("Unknown category index selected, %1.").arg(a_index));
        return;
    }
    mode->activateCategory(category);
    recordCurrentPage();
}

void WindowElement::queueMessage(const QString& a_title, const QString& a_text)
{
    m_messages.enqueue(qMakePair(a_title, a_text));
    emit messageQueued();
}

void WindowElement::onRaise()
{
}

void WindowElement::onLower()
{
}

} // namespace Orvex

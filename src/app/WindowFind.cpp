#include "app/WindowFind.h"

#include "app/ComparisonWindow.h"
#include "app/FeatureNavigator.h"
#include "app/FindDock.h"
#include "app/Window.h"
#include "elements/CameraElement.h"
#include "elements/CategoryElementBase.h"
#include "elements/ElementLocator.h"
#include "elements/FeatureElementBase.h"
#include "elements/WindowElement.h"
#include "fileio/CameraFileSession.h"
#include "model/ExceptionBase.h"
#include "widgets/DialogSeam.h"

#include <QAction>
#include <QFileInfo>
#include <QLineEdit>
#include <QMenu>
#include <QTabWidget>

namespace Orvex {

WindowFind::WindowFind(Window* a_window, FeatureNavigator* a_navigator)
    : QObject(a_window), m_window(a_window), m_navigator(a_navigator)
{
    m_dock = new FindDock(a_window);
    connect(m_dock, &FindDock::featureRequested, this, &WindowFind::goToFeature);

    const auto make = [a_window](const QString& a_text, const QString& a_key) {
        auto* action = new QAction(a_text, a_window);
        action->setShortcut(QKeySequence(a_key));
        action->setShortcutContext(Qt::WindowShortcut);
        a_window->addAction(action);
        return action;
    };
    m_filterPage = make(QStringLiteral("Filter &Page"), QStringLiteral("Ctrl+Shift+F"));
    connect(m_filterPage, &QAction::triggered, this, &WindowFind::focusPageFilter);
    m_compareModes = make(QStringLiteral("Compare &Modes..."), QStringLiteral("Ctrl+Shift+M"));
    m_compareFile = make(QStringLiteral("Compare &With File..."), QStringLiteral("Ctrl+Shift+O"));
    connect(m_compareModes, &QAction::triggered, this, &WindowFind::compareModes);
    connect(m_compareFile, &QAction::triggered, this, &WindowFind::compareWithFile);
    setWindowElement(nullptr);
}

WindowFind::~WindowFind() = default;

void WindowFind::addActionsTo(QMenu* a_menu) const
{
    a_menu->addAction(m_dock->findAction());
    a_menu->addAction(m_dock->findNextAction());
    a_menu->addAction(m_dock->findPreviousAction());
    a_menu->addAction(m_filterPage);
    a_menu->addSeparator();
    a_menu->addAction(m_compareModes);
    a_menu->addAction(m_compareFile);
}

void WindowFind::setWindowElement(WindowElement* a_element)
{
    if (a_element != m_element) {
        // A comparison shows elements of the document that goes.
        for (const QPointer<QWidget>& comparison : std::exchange(m_comparisons, {})) {
            if (comparison)
                comparison->close();
        }
    }
    m_element = a_element;
    m_dock->setWindowElement(a_element);
    for (QAction* action : {m_dock->findAction(), m_dock->findNextAction(), m_dock->findPreviousAction(),
                            m_filterPage, m_compareModes, m_compareFile})
        action->setEnabled(a_element != nullptr);
}

void WindowFind::compareModes()
{
    if (!m_element)
        return;
    auto* comparison = new ComparisonWindow(m_element, m_window);
    m_comparisons << comparison;
    comparison->show();
}

void WindowFind::compareWithFile()
{
    if (!m_element)
        return;
    const QString path = DialogSeam::openFileName(m_window, QStringLiteral("Compare With File"),
                                                  QFileInfo(m_window->documentPath()).absolutePath(),
                                                  QStringLiteral("LUMEX Files (*.lumex)"));
    if (path.isEmpty())
        return;
    auto other = std::make_unique<CameraFileSession>();
    QString failure;
    try {
        if (other->load(path, m_window->cxpXsdPath(), m_window->clXsdPath(), nullptr) !=
            CameraFileSession::LoadResult::Loaded)
            failure = CameraFileSession::unknownStandardText();
        else if (other->camera()->standard() != m_element->camera()->standard())
            failure = QStringLiteral("<html><p>%1 is a camera file of another standard.</p></html>")
                          .arg(path.toHtmlEscaped());
    } catch (const ExceptionBase& a_exception) {
        failure = QString::fromUtf8(a_exception.what());
    }
    if (!failure.isEmpty()) {
        DialogSeam::warning(m_window, QStringLiteral("Compare With File"), failure);
        return;
    }
    auto* comparison = new ComparisonWindow(m_element, std::move(other), m_window);
    m_comparisons << comparison;
    comparison->show();
}

void WindowFind::focusPageFilter()
{
    CategoryElementBase* category = m_window->tabCategory(m_window->categoryTabs()->currentIndex());
    QWidget* page = category ? category->widget() : nullptr;
    if (auto* field = page ? page->findChild<QLineEdit*>(QStringLiteral("CategoryFilter")) : nullptr) {
        field->setFocus(Qt::ShortcutFocusReason);
        field->selectAll();
    }
}

void WindowFind::goToFeature(ElementBase* a_feature, size_t a_instance)
{
    auto* feature = qobject_cast<FeatureElementBase*>(a_feature);
    if (!feature || feature->windowElement() != m_element)
        return;
    m_navigator->goTo(ElementLocator::locate(m_element->camera(), feature), a_instance);
}

} // namespace Orvex

#include "app/Window.h"

#include "app/CameraTreeModel.h"
#include "app/WindowDocumentsPage.h"
#include "elements/CameraElement.h"
#include "elements/CameraGlobalCategory.h"
#include "elements/DocumentHost.h"
#include "elements/GenericModeCategory.h"
#include "elements/ModeElement.h"
#include "elements/ReadableName.h"
#include "elements/WindowElement.h"

#include <QAction>
#include <QItemSelectionModel>
#include <QLabel>
#include <QPushButton>
#include <QScopedValueRollback>
#include <QSignalBlocker>
#include <QStackedWidget>
#include <QTabBar>
#include <QTabWidget>
#include <QVBoxLayout>

namespace Orvex {

namespace {

const QString s_globalTabText = QStringLiteral("Global Features");
const QString s_linkStyle = QStringLiteral("style=\"color:black;text-decoration:none\"");

} // namespace

void Window::setUndoRedoEnabled(bool a_undoEnabled, bool a_redoEnabled)
{
    m_actions.m_undoAction->setEnabled(a_undoEnabled && windowElement());
    m_actions.m_redoAction->setEnabled(a_redoEnabled && windowElement());
    m_changesMenuStale = true;
}

void Window::setBackForwardEnabled(bool a_backEnabled, bool a_forwardEnabled)
{
    m_actions.m_backAction->setEnabled(a_backEnabled && windowElement());
    m_actions.m_forwardAction->setEnabled(a_forwardEnabled && windowElement());
    m_historyMenuStale = true;
}

void Window::fillStaleHistoryMenus()
{
    // Filled when they open rather than at every step: every page the user visits is a step of the page
    // history, and a menu of a dozen entries cost a tenth of the visit.
    if (m_changesMenuStale)
        m_actions.fillChangesMenu(windowElement());
    if (m_historyMenuStale)
        m_actions.fillHistoryMenu(windowElement());
    m_changesMenuStale = false;
    m_historyMenuStale = false;
}

void Window::setCameraMode()
{
    if (windowElement() && !m_following && windowElement()->camera()->currentMode()) {
        emit m_host->cameraSelected();
        return;
    }
    followCurrentPage();
}

void Window::setMode(int a_modeIndex)
{
    if (windowElement() && !m_following) {
        CameraElement* camera = windowElement()->camera();
        if (camera->indexOfMode(camera->currentMode()) != a_modeIndex) {
            emit m_host->modeSelected(a_modeIndex);
            return;
        }
    }
    followCurrentPage();
}

void Window::setModeCategory(int a_catIndex)
{
    if (windowElement() && !m_following) {
        ModeElement* mode = windowElement()->camera()->currentMode();
        if (mode && mode->indexOfCategory(mode->currentCategory()) != a_catIndex) {
            emit m_host->categorySelected(a_catIndex);
            return;
        }
    }
    followCurrentPage();
}

void Window::selectNextMode()
{
    if (windowElement())
        windowElement()->camera()->selectNextMode();
}

void Window::selectPrevMode()
{
    if (windowElement())
        windowElement()->camera()->selectPrevMode();
}

void Window::selectNextCategory()
{
    if (ModeElement* mode = windowElement() ? windowElement()->camera()->currentMode() : nullptr)
        mode->selectNextCategory();
}

void Window::selectPrevCategory()
{
    if (ModeElement* mode = windowElement() ? windowElement()->camera()->currentMode() : nullptr)
        mode->selectPrevCategory();
}

void Window::followCurrentPage()
{
    if (!windowElement())
        return;
    const QScopedValueRollback<bool> following(m_following, true);
    CameraElement* camera = windowElement()->camera();
    ModeElement* mode = camera->currentMode();
    if (mode != m_shownMode || m_showingGlobalPage == bool(mode) || m_tabCategories.isEmpty())
        updateModeCategories();

    int tab = 0;
    if (mode)
        tab = qMax(0, mode->indexOfCategory(mode->currentCategory()));
    if (tab < m_tabs->count() && m_tabs->currentIndex() != tab)
        m_tabs->setCurrentIndex(tab);
    fillTab(m_tabs->currentIndex());
    m_treeModel->selectPosition(mode ? camera->indexOfMode(mode) : -1);
    updateModeLabels();
    updateModeActions();
}

void Window::updateModesAndCategories()
{
    updateModeCategories();
    updateModeLabels();
    updateModeActions();
}

void Window::updateModeCategories()
{
    const QSignalBlocker blocker(m_tabs);
    parkTabPages();
    while (m_tabs->count() > 0) {
        QWidget* holder = m_tabs->widget(0);
        m_tabs->removeTab(0);
        holder->hide();
        holder->deleteLater();
    }
    m_tabCategories.clear();
    m_shownMode = nullptr;
    m_showingGlobalPage = false;
    if (!windowElement())
        return;

    const auto addTab = [this](CategoryElementBase* a_category, const QString& a_text) {
        auto* holder = new QWidget;
        auto* layout = new QVBoxLayout(holder);
        layout->setContentsMargins(0, 0, 0, 0);
        m_tabs->addTab(holder, a_text);
        m_tabCategories << a_category;
    };
    CameraElement* camera = windowElement()->camera();
    m_shownMode = camera->currentMode();
    if (m_shownMode) {
        for (ModeCategoryElementBase* category : m_shownMode->categories()) {
            addTab(category, ReadableName::of(category->name()));
            if (auto* generic = qobject_cast<GenericModeCategory*>(category)) {
                connect(generic, &GenericModeCategory::categoryEnabledChanged, this,
                        &Window::updateModeCategoryTabs, Qt::UniqueConnection);
            }
        }
    } else {
        m_showingGlobalPage = true;
        addTab(camera->globalCategory(), s_globalTabText);
    }
    QVector<CategoryElementBase*> categories;
    for (const QPointer<CategoryElementBase>& category : qAsConst(m_tabCategories))
        categories << category.data();
    m_labelColumnWidth = qMax(m_labelColumnWidth, CategoryElementBase::labelColumnWidthOf(categories));
    updateModeCategoryTabs();
}

void Window::updateModeCategoryTabs()
{
    const QColor enabledColor = m_tabs->palette().color(QPalette::WindowText);
    const QColor disabledColor = m_tabs->palette().color(QPalette::Disabled, QPalette::WindowText);
    for (int tab = 0; tab < m_tabs->count(); ++tab) {
        CategoryElementBase* category = tabCategory(tab);
        if (!category)
            continue;
        if (category != (windowElement() ? windowElement()->camera()->globalCategory() : nullptr))
            m_tabs->setTabText(tab, ReadableName::of(category->name()));
        m_tabs->setTabToolTip(tab, ReadableName::toolTip(category->name(), category->annotation()));
        const auto* generic = qobject_cast<GenericModeCategory*>(category);
        const bool off = generic && !generic->categoryEnabled();
        m_tabs->tabBar()->setTabTextColor(tab, off ? disabledColor : enabledColor);
    }
}

void Window::fillTab(int a_index)
{
    CategoryElementBase* category = tabCategory(a_index);
    QWidget* holder = m_tabs->widget(a_index);
    if (!category || !holder)
        return;
    QWidget* page = category->createWidget();
    if (!page)
        return;
    // One label column for every page: switching tabs does not move the fields, and fields of one width
    // draw from the style's cached pictures of the pages before.
    m_labelColumnWidth = qMax(m_labelColumnWidth, category->naturalLabelColumnWidth());
    category->setLabelColumnWidth(m_labelColumnWidth);
    if (page->parentWidget() == holder)
        return;
    holder->layout()->addWidget(page);
    page->show();
}

void Window::parkTabPages()
{
    if (!m_pageStore)
        return;
    for (int tab = 0; tab < m_tabs->count(); ++tab) {
        CategoryElementBase* category = tabCategory(tab);
        QWidget* page = category ? category->widget() : nullptr;
        if (page && page->parentWidget() == m_tabs->widget(tab)) {
            page->hide();
            page->setParent(m_pageStore);
        }
    }
}

void Window::updateModeLabels()
{
    ModeElement* mode = windowElement() ? windowElement()->camera()->currentMode() : nullptr;
    if (!mode) {
        m_nameLabel->setText(QStringLiteral("<h3>&nbsp;Camera</h3>"));
        return;
    }
    m_nameLabel->setText(QStringLiteral("<h3>&nbsp;<a href=\"camera\" ") + s_linkStyle +
                         QStringLiteral(">Camera</a>&nbsp;&rarr;&nbsp;<a href=\"mode:") + mode->name() +
                         QStringLiteral("\" ") + s_linkStyle + QLatin1Char('>') +
                         mode->name().toHtmlEscaped() + QStringLiteral("</a></h3>"));
}

void Window::updateModeTabLabel()
{
    updateModeLabels();
    updateModeCategoryTabs();
}

void Window::updateModeActions()
{
    m_actions.m_cloneAction->setEnabled(m_treeModel->canCloneMode());
    m_actions.m_deleteAction->setEnabled(m_treeModel->canDeleteMode());
    m_actions.m_moveUpAction->setEnabled(m_treeModel->canMoveMode());
    m_actions.m_moveDownAction->setEnabled(m_treeModel->canMoveMode());
    m_actions.m_renameAction->setEnabled(m_treeModel->canEditModeName());
    const QList<QAction*> buttonActions{m_actions.m_cloneAction, m_actions.m_deleteAction,
                                        m_actions.m_moveUpAction, m_actions.m_moveDownAction};
    for (int i = 0; i < m_modeButtons.size() && i < buttonActions.size(); ++i) {
        if (m_modeButtons.at(i))
            m_modeButtons.at(i)->setEnabled(buttonActions.at(i)->isEnabled());
    }
}

void Window::onModeChanged()
{
    if (m_following || !windowElement() || m_treeModel->isChangingRows())
        return;
    const QModelIndex current = m_treeModel->selectionModel()->currentIndex();
    const int position = m_treeModel->modePosition(current);
    if (position >= 0)
        emit m_host->modeSelected(position);
    else if (current == m_treeModel->cameraIndex())
        emit m_host->cameraSelected();
}

void Window::onCategoryChanged(int a_index)
{
    fillTab(a_index);
    if (!m_following && windowElement() && m_shownMode && a_index >= 0)
        emit m_host->categorySelected(a_index);
}

void Window::onNameLabelLink(const QString& a_text)
{
    if (!windowElement())
        return;
    if (a_text == QLatin1String("camera")) {
        emit m_host->cameraGlobalSelected();
        return;
    }
    const QString modePrefix = QStringLiteral("mode:");
    if (a_text.startsWith(modePrefix)) {
        CameraElement* camera = windowElement()->camera();
        if (ModeElement* mode = camera->modeByName(a_text.mid(modePrefix.size())))
            emit m_host->modeSelected(camera->indexOfMode(mode));
    }
}

void Window::showDocumentsPage()
{
    m_centralStack->setCurrentWidget(m_documentsPage);
}

void Window::showEditorPage()
{
    m_centralStack->setCurrentWidget(m_editorPage);
}

} // namespace Orvex

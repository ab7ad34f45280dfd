#include "BoardFixtures.h"
#include "FileFixtures.h"
#include "TestSupport.h"
#include "WindowFixtures.h"
#include "app/CameraTreeModel.h"
#include "app/FeatureNavigator.h"
#include "app/FindDock.h"
#include "app/FindResultsModel.h"
#include "app/PreviewLauncher.h"
#include "app/ProblemsDock.h"
#include "app/Window.h"
#include "app/WindowDocumentsPage.h"
#include "app/WindowFind.h"
#include "board/QNBrdModeOpenDialog.h"
#include "board/ViewportImperativeAcquisitionInterface.h"
#include "board/ViewportWindowQt.h"
#include "elements/CameraElement.h"
#include "elements/ElementBaseDelayQueue.h"
#include "elements/ModeElement.h"
#include "elements/WidgetElementBase.h"
#include "elements/WindowElement.h"
#include "model/OperationCanceledException.h"
#include "widgets/DialogSeam.h"

#include <QAbstractSpinBox>
#include <QAction>
#include <QApplication>
#include <QComboBox>
#include <QDropEvent>
#include <QFileSystemWatcher>
#include <QFocusFrame>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMimeData>
#include <QPointer>
#include <QPushButton>
#include <QSettings>
#include <QSignalSpy>
#include <QStatusBar>
#include <QTabBar>
#include <QTabWidget>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>
#include <QToolButton>
#include <QTreeView>
#include <QTreeWidget>
#include <QUrl>

#include <cstdio>
#include <cstdlib>

using namespace Orvex;
using namespace OrvexTest;

namespace {

const char* const g_oneBoard = R"({"boards": [{"kind": "CameraLink", "mk2": true, "model": "Sim CL"}]})";

QString current(const Window& a_window)
{
    const ModeElement* mode = a_window.windowElement()->camera()->currentMode();
    return mode ? mode->name() : QStringLiteral("camera");
}

// What the widget holding the focus is known by: "tree", "tabs", a field's or button's text.
QString focusName(const Window& a_window)
{
    const QWidget* focus = a_window.focusWidget();
    if (!focus)
        return QStringLiteral("none");
    if (a_window.cameraTreeView()->isAncestorOf(focus) || focus == a_window.cameraTreeView())
        return QStringLiteral("tree");
    if (qobject_cast<const QTabBar*>(focus))
        return QStringLiteral("tabs");
    if (const auto* box = qobject_cast<const QAbstractSpinBox*>(focus))
        return box->text();
    if (const auto* combo = qobject_cast<const QComboBox*>(focus))
        return combo->currentText();
    if (const auto* button = qobject_cast<const QAbstractButton*>(focus))
        return button->text().isEmpty() ? QStringLiteral("box") : button->text();
    if (const auto* edit = qobject_cast<const QLineEdit*>(focus))
        return edit->text();
    return QString::fromLatin1(focus->metaObject()->className());
}

// The mode order and the page shown, "Fast Default Precision Calibration @Fast".
QString state(const Window& a_window)
{
    return modeNames(a_window).join(' ') + " @" + current(a_window);
}

// Sends a drag of a_data over the tree's row a_row (its top edge, so between it and the one above), and
// drops it there, through the window as the platform would: only widgets that take drops receive it.
void dragOntoRow(Window& a_window, QMimeData* a_data, int a_row)
{
    QTreeView* tree = a_window.cameraTreeView();
    const QRect rect = tree->visualRect(a_window.cameraTreeModel()->modeIndex(a_row));
    const QPoint at = tree->viewport()->mapTo(&a_window, rect.topLeft() + QPoint(rect.width() / 2, 1));
    QWindow* handle = a_window.windowHandle();
    QDragEnterEvent enter(at, Qt::CopyAction, a_data, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(handle, &enter);
    QDragMoveEvent move(at, Qt::CopyAction, a_data, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(handle, &move);
    QDropEvent drop(at, Qt::CopyAction, a_data, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(handle, &drop);
}

} // namespace

class TestWindowFlows : public QObject
{
    Q_OBJECT

    std::unique_ptr<QTemporaryDir> m_dir;
    std::unique_ptr<Window> m_window;
    QString m_document;

    // A shown window with a copy of the Camera Link example open on its first mode.
    bool openShown()
    {
        m_window = makeWindow();
        m_document = copyExample(m_dir->filePath("cam.lumex"));
        m_window->show();
        return QTest::qWaitForWindowExposed(m_window.get()) && m_window->openFile(m_document);
    }

    // Opens a preview from the window, taking what the board-and-mode chooser offers when it is asked;
    // notes what the chooser offered and the preview's title.
    Viewport::WindowQt* openPreview(QString& a_seen)
    {
        QTimer chooserAccepter;
        connect(&chooserAccepter, &QTimer::timeout, [&a_seen] {
            if (auto* chooser = qobject_cast<QNBrdModeOpenDialog*>(QApplication::activeModalWidget())) {
                a_seen += QStringLiteral(" chooser:%1,%2")
                              .arg(chooser->currentBoardNumber())
                              .arg(chooser->currentMode());
                chooser->accept();
            }
        });
        chooserAccepter.start(0);
        m_window->openPreview();
        for (QWidget* widget : QApplication::topLevelWidgets()) {
            if (qobject_cast<Viewport::WindowQt*>(widget) && widget->isVisible()) {
                a_seen += " preview:" + widget->windowTitle();
                return static_cast<Viewport::WindowQt*>(widget);
            }
        }
        return nullptr;
    }

private slots:
    void initTestCase() { isolateSettings(QStringLiteral("OrvexWindowFlows")); }

    void init()
    {
        QVERIFY((m_dir = startWindowTest())->isValid());
        QVERIFY(loadSimBoards(m_dir->filePath("boards.json"), g_oneBoard));
    }

    void cleanup()
    {
        PreviewLauncher::setOpener(nullptr);
        m_window.reset();
        // The previews closed with the window go before the next one opens on the same board.
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }

    // Steps, and what the expected state shows: the header of data/windowflows.txt.
    void flows_data() { addTableRows("tests/app/data/windowflows.txt", {"script", "expected"}); }

    void flows()
    {
        QFETCH(QByteArray, script);
        QFETCH(QByteArray, expected);
        QVERIFY(openShown());
        QString seen;
        const auto menu = [this](const char* a_title) {
            for (QMenu* found : m_window->findChildren<QMenu*>())
                if (found->title() == QLatin1String(a_title))
                    return found;
            return static_cast<QMenu*>(nullptr);
        };
        const QMap<QString, QString> actions{
            {"up", "Move &Up"},        {"del", "&Delete"},       {"undo", "&Undo"}, {"<", "Go &Back"},
            {">", "Go &Forward"},      {"close", "&Close"},      {"quit", "&Quit"}, {"save", "&Save"},
            {"new", "&New Window..."}, {"saveas", "Save &As..."}};
        const QMap<QString, QMessageBox::StandardButton> answers{
            {"Save", QMessageBox::Save},     {"Yes", QMessageBox::Yes},
            {"No", QMessageBox::No},         {"Discard", QMessageBox::Discard},
            {"Cancel", QMessageBox::Cancel}, {"Ignore", QMessageBox::Ignore}};
        for (const QString& step : QString::fromUtf8(script).split(' ')) {
            const QString arg = step.mid(2);
            if (actions.contains(step))
                windowAction(*m_window, actions[step])->trigger();
            else if (step == "U" || step == "B") {
                auto* tool = m_window->findChild<QToolButton*>(step == "U" ? "RecentChangesButton"
                                                                           : "RecentHistoryButton");
                QTest::mouseClick(tool, Qt::LeftButton, {}, QPoint(4, tool->height() / 2));
            } else if (step == "back" || step == "fwd") {
                // The mouse's own buttons over the tree; the page's tab the window then shows.
                QTest::mouseClick(m_window->cameraTreeView()->viewport(),
                                  step == "back" ? Qt::BackButton : Qt::ForwardButton);
                QCoreApplication::processEvents();
                ElementBaseDelayQueue::instance()->flush();
                seen += " tab:" + m_window->categoryTabs()->tabText(m_window->categoryTabs()->currentIndex());
            } else if (step.startsWith("t:")) {
                for (int tab = 0; tab < m_window->categoryTabs()->count(); ++tab)
                    if (m_window->categoryTabs()->tabText(tab) == arg)
                        m_window->categoryTabs()->setCurrentIndex(tab);
            } else if (step.startsWith("O:"))
                QVERIFY(m_window->openFile(m_dir->filePath(arg.section(',', 0, 0)), arg.section(',', 1)));
            else if (step[0] == 'c' || step[0] == 'h') {
                // As the menu opens.
                QMenu* history = menu(step[0] == 'c' ? "Recent Changes" : "Recent &History");
                emit history->aboutToShow();
                history->actions().value(step.mid(1).toInt())->trigger();
            } else if (step[0] == 'm')
                m_window->cameraTreeView()->setCurrentIndex(
                    m_window->cameraTreeModel()->modeIndex(step.mid(1).toInt()));
            else if (step.startsWith("L:"))
                emit m_window->nameLabel()->linkActivated(arg);
            else if (step.startsWith("A:"))
                DialogSeam::queueAnswer(answers[arg]);
            else if (step.startsWith("F:"))
                DialogSeam::queueFileName(arg.isEmpty() ? arg : m_dir->filePath(arg));
            else if (step == "folder" || step == "rm" || step == "ext" || step == "swap") {
                QByteArray rewritten = diskState(m_document);
                rewritten.replace("name=\"Precision\"", "name=\"Exact\"");
                const int shown = DialogSeam::log().size();
                if (step == "swap") {
                    QVERIFY(writeFile(m_document + ".new", rewritten));
                    QCOMPARE(
                        std::rename(QFile::encodeName(m_document + ".new"), QFile::encodeName(m_document)),
                        0);
                } else if (step == "ext")
                    QVERIFY(writeFile(m_document, rewritten));
                else
                    QVERIFY(QFile::remove(m_document) && (step == "rm" || QDir().mkpath(m_document)));
                QTRY_VERIFY(DialogSeam::log().size() > shown);
                const DialogSeam::Record question = DialogSeam::log()[shown];
                QVERIFY(question.m_text.contains("<p>" + QDir::toNativeSeparators(m_document) + "</p>"));
                // Saving over the other program's change is not offered while there are edits to keep.
                if (step == "ext" || step == "swap")
                    seen +=
                        question.m_buttons == (QMessageBox::Yes | QMessageBox::No) ? " yes/no"
                        : question.m_buttons == (QMessageBox::Yes | QMessageBox::Save | QMessageBox::Ignore)
                            ? " reload/save-as/ignore"
                            : " other";
            } else if (step == "touch") {
                QSignalSpy reports(m_window->findChild<QFileSystemWatcher*>(),
                                   &QFileSystemWatcher::fileChanged);
                QVERIFY(writeFile(m_document, diskState(m_document)));
                QTRY_VERIFY(!reports.isEmpty());
            } else if (step == "none")
                QVERIFY(loadSimBoards(m_dir->filePath("boards.json"), R"({"boards": []})"));
            else if (step.startsWith("D:")) {
                for (QToolButton* entry : m_window->documentsPage()->findChildren<QToolButton*>())
                    if (entry->text() == QString(arg).replace('_', ' ') && entry->isVisible())
                        QTest::mouseClick(entry, Qt::LeftButton);
            } else if (step[0] == 'd' || step.startsWith("file") || step.startsWith("xml")) {
                CameraTreeModel* model = m_window->cameraTreeModel();
                std::unique_ptr<QMimeData> data(new QMimeData);
                if (step[0] == 'd')
                    data.reset(model->mimeData({model->modeIndex(step.mid(1, 1).toInt())}));
                else
                    for (const QString& name : step.startsWith("files")
                                                   ? QStringList{"other.lumex", "more.lumex"}
                                               : step.startsWith("xml") ? QStringList{"other.xml"}
                                                                        : QStringList{"other.lumex"})
                        data->setUrls(data->urls()
                                      << QUrl::fromLocalFile(copyExample(m_dir->filePath(name))));
                dragOntoRow(*m_window, data.get(), step.section(',', 1).toInt());
            } else if (step.startsWith("T:")) {
                // Failures no simulated board raises: one of the editor's own, and one of no known kind.
                PreviewLauncher::setOpener([arg](unsigned, const QString&, const QString&) -> QWidget* {
                    if (arg == "app")
                        ORVEX_THROW(OperationCanceledException, "stopped");
                    throw 7;
                });
            } else if (step.startsWith("W:") || step == "p") {
                if (step != "p") {
                    // The user had closed the Problems dock; the file's problems bring it back.
                    m_window->problemsDock()->close();
                    QByteArray bytes = diskState(m_document);
                    QVERIFY(
                        writeFile(m_dir->filePath("bad.lumex"), bytes.replace(arg.section('=', 0, 0).toUtf8(),
                                                                              arg.section('=', 1).toUtf8())));
                    QVERIFY(m_window->openFile(m_dir->filePath("bad.lumex")));
                    seen += " status:" + m_window->statusBar()->currentMessage().replace(' ', '_');
                }
                QTreeWidget* table = m_window->problemsDock()->table();
                seen += QString(" %1[%2]").arg(m_window->problemsDock()->isVisible() ? "shown" : "closed",
                                               m_window->problemsDock()->windowTitle());
                for (int row = 0; row < table->topLevelItemCount(); ++row)
                    seen += " " + table->topLevelItem(row)->text(ProblemsDock::ModeColumn) + "," +
                            table->topLevelItem(row)->text(ProblemsDock::PathColumn) + ":" +
                            table->topLevelItem(row)->text(ProblemsDock::LineColumn);
            } else if (step.startsWith("R:")) {
                CameraTreeModel* model = m_window->cameraTreeModel();
                QVERIFY(model->setData(m_window->cameraTreeView()->currentIndex(), arg));
            } else if (step.startsWith("G:") || step.startsWith("S:") || step[0] == 'g') {
                FeatureNavigator* navigator = m_window->featureNavigator();
                bool went = false;
                if (step[0] == 'g') {
                    // Row N of the Problems dock, with Enter.
                    QTreeWidget* table = m_window->problemsDock()->table();
                    table->setCurrentItem(table->topLevelItem(step.mid(1).toInt()));
                    QTest::keyClick(table, Qt::Key_Return);
                    went = navigator->lastTarget() != nullptr;
                } else if (step.startsWith("S:")) {
                    FindDock* dock = m_window->find()->dock();
                    dock->showAndFocus();
                    QTest::keyClicks(dock->field(), arg);
                    QTRY_VERIFY(!dock->isSearching() && dock->results()->rowCount() > 0);
                    QTest::keyClick(dock->field(), Qt::Key_Return);
                    went = navigator->lastTarget() != nullptr;
                } else {
                    went = navigator->goTo(arg.section(',', 0, 0), arg.section(',', 1).split('>'), 0);
                }
                seen += went ? " go" : " stay";
                auto* target = qobject_cast<WidgetElementBase*>(navigator->lastTarget());
                // A member in a table cell is reached through its list's row.
                auto* holder = target ? qobject_cast<WidgetElementBase*>(target->parentElement()) : nullptr;
                QWidget* editor = !target                   ? nullptr
                                  : target->editorWidget(0) ? target->editorWidget(0)
                                  : holder                  ? holder->editorWidget(0)
                                                            : nullptr;
                seen += " tab:" + m_window->categoryTabs()->tabText(m_window->categoryTabs()->currentIndex());
                if (editor && m_window->focusWidget() == editor && !editor->visibleRegion().isEmpty())
                    seen += " focused";
                if (target && (target->isHighlightActive() || (holder && holder->isHighlightActive())))
                    seen += " lit";
            } else if (step.startsWith("k:")) {
                // Shortcuts go only to the active window.
                QApplication::setActiveWindow(m_window.get());
                QTest::keySequence(m_window->focusWidget(), QKeySequence(arg));
                seen += " " + arg + ":" + focusName(*m_window);
            } else if (step.startsWith("y:")) {
                // Typed over the whole of the focused field, which stays open (no Enter).
                if (auto* box = qobject_cast<QAbstractSpinBox*>(m_window->focusWidget()))
                    box->selectAll();
                else if (auto* edit = qobject_cast<QLineEdit*>(m_window->focusWidget()))
                    edit->selectAll();
                QTest::keyClicks(m_window->focusWidget(), arg);
            } else if (step.startsWith("tab")) {
                QApplication::setActiveWindow(m_window.get());
                m_window->cameraTreeView()->setFocus();
                seen += " focus:" + focusName(*m_window);
                const int presses = step.mid(3).toInt();
                for (int press = 0; press < std::abs(presses); ++press) {
                    QTest::keyClick(m_window->focusWidget(), presses < 0 ? Qt::Key_Backtab : Qt::Key_Tab,
                                    presses < 0 ? Qt::ShiftModifier : Qt::NoModifier);
                    seen += ">" + focusName(*m_window);
                    // Where the keys go is shown by a ring around the field, not only by a faint frame.
                    auto* ring = m_window->findChild<QFocusFrame*>("FocusRing");
                    QWidget* focus = m_window->focusWidget();
                    if (!ring || !ring->isVisible() || !ring->widget() ||
                        (ring->widget() != focus && !ring->widget()->isAncestorOf(focus)))
                        seen += "(no ring)";
                }
            } else if (step.startsWith("E:")) {
                // Renames the current mode in the tree's own editor, as a double click opens it.
                m_window->cameraTreeView()->edit(m_window->cameraTreeView()->currentIndex());
                auto* editor = m_window->cameraTreeView()->viewport()->findChild<QLineEdit*>();
                QVERIFY(editor);
                editor->selectAll();
                QTest::keyClicks(editor, arg);
                QTest::keyClick(editor, Qt::Key_Return);
                // The refused editor closes first; the new one opens once the events are through.
                for (int round = 0; round < 3; ++round)
                    QCoreApplication::processEvents();
                for (QLineEdit* open : m_window->cameraTreeView()->viewport()->findChildren<QLineEdit*>())
                    if (open->isVisible())
                        seen += " editing:" + open->text();
            } else if (step.startsWith("X:")) {
                // Opens a copy of the example with a broken value in its first mode.
                QByteArray broken = diskState(m_document);
                broken.replace("<Width>2048</Width>", "<Width>" + arg.toUtf8() + "</Width>");
                QVERIFY(writeFile(m_dir->filePath("broken.lumex"), broken));
                const int shown = DialogSeam::log().size();
                seen += m_window->openFile(m_dir->filePath("broken.lumex")) ? " opened" : " refused";
                for (const DialogSeam::Record& record : DialogSeam::log().mid(shown)) {
                    if (!record.m_details.isEmpty())
                        seen +=
                            " said:" +
                            record.m_text.section("<p>", 2, 2).section("</p>", 0, 0).replace("&quot;", "\"") +
                            " details:" + record.m_details.section('\n', 0, 0);
                }
            } else if (step == "P") {
                openPreview(seen);
            } else
                QFAIL(qPrintable("unknown step " + step));
            QCoreApplication::processEvents();
            ElementBaseDelayQueue::instance()->flush();
        }
        QByteArray disk = diskState(m_document);
        const int name = disk.indexOf("<mode name=\"");
        disk = name < 0 ? QByteArray() : disk.mid(name + 12, disk.indexOf('"', name + 12) - name - 12);
        QString outcome = messages(true).join(", ") + "; " +
                          (m_window->isDocumentsPageShown() ? QString("documents") : state(*m_window)) +
                          (m_window->isDocumentModified() ? " *" : "") + " disk:" + disk + seen;
        const QString path = m_window->hasDocument() ? m_window->documentPath() : QString();
        if (!path.isEmpty() && QFileInfo(path).fileName() != "cam.lumex")
            outcome += " " + QFileInfo(path).fileName();
        if (m_window->windowTitle() !=
                (path.isEmpty() ? QStringLiteral("Orvex") : Window::titleFor(path)) + "[*]" ||
            m_window->isWindowModified() != m_window->isDocumentModified())
            outcome += " title:" + m_window->windowTitle();
        if (script.contains("save") && QFileInfo(path).isFile())
            QCOMPARE(runXmllint(path, sourcePath("config/Vrm/LUMEX-CL.xsd")), 0);
        if (script.contains("new") && QSettings().value(Window::geometryKey) == m_window->saveGeometry())
            outcome += " geometry";
        if (!m_window->isVisible())
            outcome += " hidden";
        QCOMPARE(outcome, QString::fromUtf8(expected));
    }

    // Each action of the menus: its key, where else it stands, and when it can be used. The key is
    // pressed with a document open and must run the action, alone.
    void actions_data() { addTableRows("tests/app/data/windowactions.txt", {"key", "where", "enabled"}); }

    void actions()
    {
        const QByteArray action = QTest::currentDataTag();
        QFETCH(QByteArray, key);
        QFETCH(QByteArray, where);
        QFETCH(QByteArray, enabled);
        const bool with = enabled[1] == '1';
        m_window = makeWindow();
        m_window->show();
        QVERIFY(QTest::qWaitForWindowExposed(m_window.get()));
        QAction* tested = windowAction(*m_window, QString::fromUtf8(action));
        QVERIFY(tested);
        QCOMPARE(tested->isEnabled(), enabled[0] == '1');
        QVERIFY(m_window->openFile(copyExample(m_dir->filePath("cam.lumex"))));
        QVERIFY(moveSecondModeUp(*m_window));
        QApplication::setActiveWindow(m_window.get());
        QVERIFY(QTest::qWaitForWindowActive(m_window.get()));
        m_window->cameraTreeView()->setFocus();
        ElementBaseDelayQueue::instance()->flush();
        QCOMPARE(tested->isEnabled(), with);
        bool inToolBar = false;
        for (QToolButton* button : m_window->findChildren<QToolButton*>())
            inToolBar |= button->defaultAction() == tested;
        QString dockButtons;
        for (QPushButton* button : m_window->findChildren<QPushButton*>())
            dockButtons += button->toolTip() + '\n';
        const char* found = inToolBar                                                            ? "tool"
                            : dockButtons.contains(QString::fromUtf8(action).remove('&') + " (") ? "button"
                                                                                                 : "";
        QCOMPARE(where, QByteArray(found));
        if (key.isEmpty() || !with)
            return;
        // Whatever the key runs answers its questions and choosers by default: cancelled.
        int runs = 0;
        for (QAction* other : m_window->findChildren<QAction*>()) {
            connect(other, &QAction::triggered, this,
                    [&runs, other, tested] { runs += other == tested ? 1 : 100; });
        }
        QTimer chooserCloser;
        connect(&chooserCloser, &QTimer::timeout, [] {
            if (QWidget* modal = QApplication::activeModalWidget())
                modal->close();
        });
        chooserCloser.start(0);
        QTest::keySequence(m_window.get(), QKeySequence(QString::fromUtf8(key)));
        QCOMPARE(runs, 1);
    }

    // Previews go, their acquisition stopped first, with the document and the window that opened them.
    void previewsCloseWithTheirWindow_data()
    {
        OrvexTest::addTableRows(QStringLiteral("tests/app/data/preview-close.txt"), {"action"});
    }

    void previewsCloseWithTheirWindow()
    {
        const QString action = OrvexTest::field("action");
        QVERIFY(openShown());
        QString seen;
        QPointer<Viewport::WindowQt> preview = openPreview(seen);
        QVERIFY(preview && preview->isVisible());
        QCOMPARE(messages(), QStringList());
        QVERIFY(preview->acquisition()->start());
        QString stateAtClose = "never closed";
        struct CloseWatch : QObject
        {
            QString* m_state = nullptr;
            Viewport::WindowQt* m_preview = nullptr;
            bool eventFilter(QObject*, QEvent* a_event) override
            {
                if (a_event->type() == QEvent::Close)
                    *m_state = m_preview->acquisition()->acquisitionState() ==
                                       Viewport::ImperativeAcquisitionInterface::State::Stopped
                                   ? "stopped"
                                   : "running";
                return false;
            }
        } watch;
        watch.m_state = &stateAtClose;
        watch.m_preview = preview;
        preview->installEventFilter(&watch);

        if (action.isEmpty())
            m_window.reset();
        else
            windowAction(*m_window, action)->trigger();
        QCOMPARE(stateAtClose, QStringLiteral("stopped"));
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QVERIFY(!preview);
    }
};

QTEST_MAIN(TestWindowFlows)
#include "tst_windowflows.moc"

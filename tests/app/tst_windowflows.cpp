#include "BoardFixtures.h"
#include "TestSupport.h"
#include "WindowFixtures.h"
#include "app/CameraTreeModel.h"
#include "app/Window.h"
#include "board/QNBrdModeOpenDialog.h"
#include "board/ViewportAcquisitionInterface.h"
#include "board/ViewportImperativeAcquisitionInterface.h"
#include "board/ViewportWindowQt.h"
#include "elements/CameraElement.h"
#include "elements/DocumentHost.h"
#include "elements/ModeElement.h"
#include "elements/WindowElement.h"
#include "widgets/DialogSeam.h"

#include <QAction>
#include <QApplication>
#include <QDropEvent>
#include <QFileSystemWatcher>
#include <QMenu>
#include <QMimeData>
#include <QPointer>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>
#include <QToolButton>
#include <QTreeView>
#include <QUrl>

using namespace Orvex;
using namespace OrvexTest;
using Answers = QList<QMessageBox::StandardButton>;

Q_DECLARE_METATYPE(QMessageBox::StandardButton)
Q_DECLARE_METATYPE(Answers)

namespace {

const char* const g_oneBoard = R"({"boards": [{"kind": "CameraLink", "mk2": true, "model": "Sim CL"}]})";

QString current(const Window& a_window)
{
    const ModeElement* mode = a_window.windowElement()->camera()->currentMode();
    return mode ? mode->name() : QStringLiteral("camera");
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

private slots:
    void initTestCase() { isolateSettings(QStringLiteral("OrvexWindowFlows")); }

    void init()
    {
        QVERIFY((m_dir = startWindowTest())->isValid());
        QVERIFY(loadSimBoards(m_dir->filePath("boards.json"), g_oneBoard));
    }

    void cleanup() { m_window.reset(); }

    // A click on the tool bar's Undo and Back buttons goes one step; their arrows hold the history menus.
    void toolBarHistoryButtons_data()
    {
        QTest::addColumn<QString>("button");
        QTest::addColumn<QString>("expected");
        QTest::newRow("undo one of two moves") << "RecentChangesButton"
                                               << "Fast Default Precision Calibration @Precision";
        QTest::newRow("back one of three pages") << "RecentHistoryButton"
                                                 << "Default Fast Precision Calibration @Fast";
    }

    void toolBarHistoryButtons()
    {
        QFETCH(QString, button);
        QFETCH(QString, expected);
        QVERIFY(openShown());
        for (int mode : {1, 2}) {
            m_window->cameraTreeView()->setCurrentIndex(m_window->cameraTreeModel()->modeIndex(mode));
            if (button == "RecentChangesButton")
                windowAction(*m_window, "Move &Up")->trigger();
        }
        auto* tool = m_window->findChild<QToolButton*>(button);
        QVERIFY(tool);
        QTRY_VERIFY(tool->isEnabled());
        QTest::mouseClick(tool, Qt::LeftButton, {}, QPoint(4, tool->height() / 2));
        QTRY_COMPARE(state(*m_window), expected);
    }

    // Another program changes the file while it has unsaved changes here: nothing of either is lost.
    void changedWithEdits_data()
    {
        QTest::addColumn<bool>("edited");
        QTest::addColumn<Answers>("answers");
        QTest::addColumn<QString>("saveAs"); // the file name given to Save As, if asked
        // The questions, then: modified, the document's file, whether the new contents show, whether
        // the changed file stayed as the other program left it.
        QTest::addColumn<QString>("expected");
        QTest::newRow("reload, confirmed")
            << true << Answers{QMessageBox::Yes, QMessageBox::Discard} << ""
            << "Current File Changed, Discard Changes? | clean cam.lumex new kept";
        QTest::newRow("reload, not confirmed")
            << true << Answers{QMessageBox::Yes, QMessageBox::Cancel} << ""
            << "Current File Changed, Discard Changes? | modified cam.lumex old kept";
        QTest::newRow("saved as another file") << true << Answers{QMessageBox::Save} << "copy.lumex"
                                               << "Current File Changed | clean copy.lumex old kept";
        QTest::newRow("save as cancelled") << true << Answers{QMessageBox::Save} << ""
                                           << "Current File Changed | modified cam.lumex old kept";
        QTest::newRow("ignored") << true << Answers{QMessageBox::Ignore} << ""
                                 << "Current File Changed | modified cam.lumex old kept";
        QTest::newRow("dismissed") << true << Answers{} << ""
                                   << "Current File Changed | modified cam.lumex old kept";
        QTest::newRow("without edits, reloaded") << false << Answers{QMessageBox::Yes} << ""
                                                 << "Current File Changed | clean cam.lumex new kept";
    }

    void changedWithEdits()
    {
        QFETCH(bool, edited);
        QFETCH(Answers, answers);
        QFETCH(QString, saveAs);
        QFETCH(QString, expected);
        QVERIFY(openShown());
        if (edited)
            QVERIFY(moveSecondModeUp(*m_window));
        for (QMessageBox::StandardButton answer : answers)
            DialogSeam::queueAnswer(answer);
        DialogSeam::queueFileName(saveAs.isEmpty() ? QString() : m_dir->filePath(saveAs));
        QByteArray rewritten = diskState(m_document);
        rewritten.replace("<mode name=\"Precision\"", "<mode name=\"Exact\"");
        QVERIFY(writeFile(m_document, rewritten));

        QTRY_VERIFY(!messages().isEmpty());
        const DialogSeam::Record asked = DialogSeam::log().first();
        // Saving over the changed file is never among the answers while there are edits to keep.
        QCOMPARE(asked.m_buttons, edited ? QMessageBox::Yes | QMessageBox::Save | QMessageBox::Ignore
                                         : QMessageBox::Yes | QMessageBox::No);
        const QString outcome = messages(true).join(", ") + " | " +
                                (m_window->isDocumentModified() ? "modified " : "clean ") +
                                QFileInfo(m_window->documentPath()).fileName() +
                                (modeNames(*m_window).contains("Exact") ? " new" : " old") +
                                (diskState(m_document) == rewritten ? " kept" : " overwritten");
        QCOMPARE(outcome, expected);
        if (!saveAs.isEmpty())
            QVERIFY(diskState(m_dir->filePath(saveAs)).contains("<mode name=\"Precision\""));
    }

    // Previews go, their acquisition stopped first, with the document and the window that opened them.
    void previewsCloseWithTheirWindow_data()
    {
        QTest::addColumn<QString>("action");
        QTest::newRow("quit") << "&Quit";
        QTest::newRow("close") << "&Close";
        QTest::newRow("window deleted") << "";
    }

    void previewsCloseWithTheirWindow()
    {
        QFETCH(QString, action);
        QVERIFY(openShown());
        QTimer chooserAccepter;
        connect(&chooserAccepter, &QTimer::timeout, [] {
            if (auto* chooser = qobject_cast<QNBrdModeOpenDialog*>(QApplication::activeModalWidget()))
                chooser->accept();
        });
        chooserAccepter.start(0);
        m_window->openPreview();
        chooserAccepter.stop();
        QPointer<Viewport::WindowQt> preview;
        for (QWidget* widget : QApplication::topLevelWidgets()) {
            if (!preview)
                preview = qobject_cast<Viewport::WindowQt*>(widget);
        }
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

    // Modes are dragged between the rows of the window's tree; a camera file dropped on it opens.
    void dropsOnTheTree_data()
    {
        QTest::addColumn<QString>("dragged"); // a mode's position, or "file"
        QTest::addColumn<int>("row");
        QTest::addColumn<QString>("expected");
        QTest::newRow("mode to the top") << "2" << 0 << "Precision Default Fast Calibration @Precision";
        QTest::newRow("mode down past one") << "0" << 2 << "Fast Default Precision Calibration @Default";
        QTest::newRow("mode to its own place") << "1" << 1 << "Default Fast Precision Calibration @Fast";
        QTest::newRow("camera file") << "file" << 1 << "Default Fast Precision Calibration @camera other";
    }

    void dropsOnTheTree()
    {
        QFETCH(QString, dragged);
        QFETCH(int, row);
        QFETCH(QString, expected);
        QVERIFY(openShown());
        CameraTreeModel* model = m_window->cameraTreeModel();
        std::unique_ptr<QMimeData> data;
        if (dragged == "file") {
            data = std::make_unique<QMimeData>();
            data->setUrls({QUrl::fromLocalFile(copyExample(m_dir->filePath("other.lumex")))});
        } else {
            m_window->cameraTreeView()->setCurrentIndex(model->modeIndex(dragged.toInt()));
            data.reset(model->mimeData({model->modeIndex(dragged.toInt())}));
        }
        dragOntoRow(*m_window, data.get(), row);
        QString outcome = state(*m_window);
        if (m_window->documentPath() != QDir::toNativeSeparators(m_document))
            outcome += " " + QFileInfo(m_window->documentPath()).baseName();
        QCOMPARE(outcome, expected);
        QCOMPARE(m_window->isDocumentModified(),
                 expected != "Default Fast Precision Calibration @Fast" && dragged != "file");
    }
};

QTEST_MAIN(TestWindowFlows)
#include "tst_windowflows.moc"

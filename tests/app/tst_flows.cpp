#include "BoardFixtures.h"
#include "ElementFixtures.h"
#include "FileFixtures.h"
#include "TestSupport.h"
#include "app/CameraTreeModel.h"
#include "app/Startup.h"
#include "board/QNBrdAttachedFilesSource.h"
#include "board/QNBrdDataSource.h"
#include "board/QNBrdRegsAddressItemModel.h"
#include "board/QNBrdRegsDataItemModel.h"
#include "board/QNCxpRegsDataItemModel.h"
#include "elements/CameraElement.h"
#include "elements/ElementBaseDelayQueue.h"
#include "elements/FeatureListFeature.h"
#include "elements/GenericModeCategory.h"
#include "elements/ModeElement.h"
#include "elements/NavigationStack.h"
#include "elements/StringFeature.h"
#include "elements/UndoRedoStack.h"
#include "elements/WindowElement.h"
#include "platform/QNDriver.h"
#include "widgets/DialogSeam.h"

#include <QApplication>
#include <QIcon>
#include <QImage>
#include <QMenu>
#include <QMimeData>
#include <QPointer>
#include <QProcess>
#include <QSignalSpy>
#include <QStyle>
#include <QTemporaryDir>
#include <QTest>

#include <cstdio>
#include <memory>

using namespace Orvex;

namespace {

// A camera of named modes, one page each, behind the tree of the "Camera and Modes" dock, and the two
// history menus, cleared and filled again at every change of their history as the window does.
struct Document
{
    Document()
    {
        for (const char* name : {"A", "B", "C"}) {
            auto* mode = new ModeElement(element.camera());
            mode->setName(name);
            mode->appendCategory(new GenericModeCategory(mode));
            element.camera()->appendMode(mode);
        }
        model.setWindowElement(&element);
        QObject::connect(element.undoRedoStack(), &ActionStack::stateChanged, &changes, [this] {
            changes.clear();
            element.undoRedoStack()->fillHistoryMenu(&changes);
        });
        QObject::connect(history(), &NavigationStack::stateChanged, &pages, [this] {
            pages.clear();
            history()->fillHistoryMenu(&pages);
        });
    }
    QString order() const
    {
        QStringList names;
        for (const ModeElement* mode : element.camera()->modes())
            names << mode->name();
        return names.join(QLatin1Char(' '));
    }
    NavigationStack* history() const { return element.navigationStack(); }

    WindowElement element{nullptr};
    CameraTreeModel model{nullptr};
    QMenu changes;
    QMenu pages;
};

// Steps: a mode name visits it, "<" and ">" go back and forward; "-X", "+X", "^X" and "vX" delete, clone,
// move up and move down mode X in the tree (without X: the mode selected); "undo" and "redo" the last change,
// "#n" picks history entry n, "cn" and "pn" trigger entry n of the Recent Changes and the Page History menu,
// which must outlive the refill that it causes itself; "dX,n" drags mode X in the tree and drops it before
// row n (-1 onto the camera row, -2 beside it), "DX,n" the same from another window's tree of the same modes.
void navigate(Document& a_document, const QString& a_script)
{
    for (const QString& step : a_script.split(QLatin1Char(' '), Qt::SkipEmptyParts)) {
        CameraElement* camera = a_document.element.camera();
        if (step == QLatin1String("<"))
            a_document.history()->back();
        else if (step == QLatin1String(">"))
            a_document.history()->forward();
        else if (step == QLatin1String("undo"))
            a_document.element.undoRedoStack()->unapply();
        else if (step == QLatin1String("redo"))
            a_document.element.undoRedoStack()->reapply();
        else if (step.startsWith(QLatin1Char('#')))
            a_document.history()->setIndex(step.mid(1).toULongLong());
        else if (step.startsWith(QLatin1Char('c')) || step.startsWith(QLatin1Char('p'))) {
            QMenu& menu = step.startsWith(QLatin1Char('c')) ? a_document.changes : a_document.pages;
            const QPointer<QAction> entry = menu.actions().value(step.mid(1).toInt());
            QVERIFY(entry);
            entry->trigger();
            QVERIFY2(entry && !menu.actions().contains(entry), "deleted while firing, or never refilled");
            QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
            QVERIFY2(!entry, "left behind");
        } else if (step.startsWith(QLatin1Char('d'), Qt::CaseInsensitive)) {
            Document other;
            CameraTreeModel& tree = step.startsWith(QLatin1Char('D')) ? other.model : a_document.model;
            const int row = step.section(QLatin1Char(','), 1).toInt();
            const std::unique_ptr<QMimeData> data(
                tree.mimeData({tree.modeIndex(camera->indexOfMode(camera->modeByName(step.mid(1, 1))))}));
            const QModelIndex parent = row == -2 ? QModelIndex() : a_document.model.cameraIndex();
            a_document.model.dropMimeData(data.get(), Qt::CopyAction, row == -2 ? 1 : row, 0, parent);
        } else if (QStringLiteral("-^v+").contains(step[0])) {
            if (step.size() > 1)
                a_document.model.selectPosition(camera->indexOfMode(camera->modeByName(step.mid(1))));
            if (step[0] == QLatin1Char('-'))
                a_document.model.deleteMode();
            else if (step[0] == QLatin1Char('+'))
                a_document.model.cloneMode();
            else if (step[0] == QLatin1Char('^'))
                a_document.model.moveModeUp();
            else
                a_document.model.moveModeDown();
        } else
            a_document.element.setMode(camera->indexOfMode(camera->modeByName(step)));
        ElementBaseDelayQueue::instance()->flush();
    }
}

} // namespace

class TestFlows : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;

private slots:
    void initTestCase()
    {
        OrvexTest::isolateSettings(QStringLiteral("OrvexFlowsTest"));
        DialogSeam::setTestMode(true);
        // The "%d" entries name files under the scratch folder by their absolute path.
        const QByteArray boards =
            OrvexTest::fileBytes(OrvexTest::sourcePath("tests/app/data/flows-boards.json"));
        QVERIFY(OrvexTest::loadSimBoards(m_dir.filePath("boards.json"),
                                         QByteArray(boards).replace("%d", QFile::encodeName(m_dir.path()))));
    }

    void modesAndHistory_data()
    {
        OrvexTest::addTableRows("tests/app/data/histories.txt", {"script", "expected"});
    }

    void modesAndHistory()
    {
        QFETCH(QByteArray, script);
        QFETCH(QByteArray, expected);
        Document document;
        navigate(document, QString::fromUtf8(script));
        QMenu menu;
        document.history()->fillHistoryMenu(&menu);
        QString outcome = document.order() + QStringLiteral(" %1%2")
                                                 .arg(document.history()->canGoBack())
                                                 .arg(document.history()->canGoForward());
        for (const QAction* entry : menu.actions())
            outcome += QLatin1Char(' ') + (entry->isChecked() ? '[' + entry->text() + ']' : entry->text());
        QCOMPARE(outcome, QString::fromUtf8(expected));
    }

    void rename_data()
    {
        OrvexTest::addTableRows("tests/app/data/mode-rename.txt", {"typed", "expected", "message"});
    }

    void rename()
    {
        QFETCH(QByteArray, typed);
        QFETCH(QByteArray, expected);
        QFETCH(QByteArray, message);
        DialogSeam::reset();
        DialogSeam::setTestMode(true);
        Document document;
        QSignalSpy labelsChanged(&document.model, &CameraTreeModel::labelsChanged);
        const bool accepted = document.model.setData(document.model.modeIndex(1), QString(typed));

        QCOMPARE(accepted, expected != "B");
        QCOMPARE(document.order(), "A " + QString(expected) + " C");
        QStringList shown;
        for (const DialogSeam::Record& record : DialogSeam::log())
            shown << record.m_title + ": " + record.m_text;
        QCOMPARE(shown, message.isEmpty() ? QStringList() : QStringList{QString(message)});
        QCOMPARE(labelsChanged.count(), int(accepted));
        navigate(document, "undo");
        QCOMPARE(document.order(), QStringLiteral("A B C"));
        QCOMPARE(labelsChanged.count(), 2 * int(accepted));
    }

    void dragsModeName()
    {
        Document document;
        QVERIFY(document.model.flags(document.model.modeIndex(1)).testFlag(Qt::ItemIsDragEnabled));
        QVERIFY(!document.model.flags(document.model.cameraIndex()).testFlag(Qt::ItemIsDragEnabled));
        std::unique_ptr<QMimeData> mime(document.model.mimeData({document.model.modeIndex(1)}));
        QCOMPARE(mime->data("QuarnelOrvex/ModeNameString"), QByteArray("B"));
        QVERIFY(!document.model.mimeData({document.model.cameraIndex()}));
    }

    // The camera and its modes keep the style's icons of their kinds, whichever row is painted first.
    void rowIcons()
    {
        Document document;
        const auto image = [](const QVariant& a_icon) { return a_icon.value<QIcon>().pixmap(16).toImage(); };
        const QImage camera = image(QApplication::style()->standardIcon(QStyle::SP_ComputerIcon));
        const QImage mode = image(QApplication::style()->standardIcon(QStyle::SP_FileDialogDetailedView));
        QVERIFY(camera != mode);
        for (const QModelIndex& index : {document.model.modeIndex(1), document.model.cameraIndex(),
                                         document.model.modeIndex(2), document.model.cameraIndex()}) {
            const bool isCamera = index == document.model.cameraIndex();
            QCOMPARE(image(document.model.data(index, Qt::DecorationRole)), isCamera ? camera : mode);
        }
    }

    void attachedFileEntries()
    {
        for (const char* file : {"config/Vrm/sub/cam.lumex", "config/Vrm/cams@2/cam.lumex",
                                 "config/Vrm/cam.lumex", "a@b/cam.lumex", "abs/cam.lumex"})
            QVERIFY(OrvexTest::writeFile(m_dir.filePath(file), "<x/>"));
        QNBrdAttachedFilesSource source;
        source.setConfigPath(m_dir.filePath("config"));
        QStringList found;
        for (const QNBrdAttachedFilesSource::AttachedFile& file : source.boards().value(0).files)
            found << file.fileMode + "|" +
                         QDir(m_dir.path()).relativeFilePath(QDir::fromNativeSeparators(file.filePath));
        QCOMPARE(found,
                 (QStringList{"Fast|config/Vrm/sub/cam.lumex", "|config/Vrm/cams@2/cam.lumex",
                              "Slow|a@b/cam.lumex", "Fast|abs/cam.lumex", "Fast|config/Vrm/cam.lumex"}));
    }

    void registerRowFollowsBoard_data()
    {
        OrvexTest::addTableRows("tests/app/data/register-follows.txt", {"camera", "step", "current"});
    }

    void registerRowFollowsBoard()
    {
        const bool camera = OrvexTest::field("camera") == "1";
        const QString step = OrvexTest::field("step");
        const QString current = OrvexTest::field("current");
        QNBrdDataSource source;
        source.setBoard(camera ? 1 : 0);
        QNBrdRegsAddressItemModel addresses(&source);
        QNCxpRegsDataItemModel cameraRows(&source);
        QNBrdRegsDataItemModel boardRows(&addresses);
        StringFeatureCompleterItemModel* model =
            camera ? static_cast<StringFeatureCompleterItemModel*>(&cameraRows) : &boardRows;
        // One register write, as the popup of its data field sees it.
        OrvexTest::HolderElement holder;
        auto* list = new FeatureListFeature(&holder);
        for (const char* name : {"address", "data"}) {
            auto* member = new StringFeature(list);
            member->setName(name);
            member->setValue(camera ? "0x2000" : "Gain");
            list->addMember(member);
        }
        auto* address = qobject_cast<StringFeature*>(list->member(0, 0));
        model->setSource(qobject_cast<StringFeature*>(list->member(0, 1)), 0);
        const QModelIndex shown = model->index(1, 0);
        QTRY_COMPARE(shown.data().toString(), camera ? "Cam: 0x00000005" : "Reg: 0x0000001F");
        if (!step.startsWith('=')) {
            address->userSetValue(0, step);
            QTRY_COMPARE(shown.data().toString(), current);
            return;
        }
        const quint32 value = step.mid(1).toUInt();
        if (camera)
            QCOMPARE(QNCXPWriteReg(source.boardHandle(), 0x2000, value), 0);
        else
            QCOMPARE(QNRegPoke(source.boardHandle(), addresses.registerId("Gain"), value), 0);
        QTRY_COMPARE(shown.data().toString(), current);
    }

    // A copy of this program looks for its configuration only beside itself, never in the source tree.
    void configFolderOfACopy_data()
    {
        OrvexTest::addTableRows("tests/app/data/config-copy.txt", {"beside", "taken"});
    }

    void configFolderOfACopy()
    {
        const QString beside = OrvexTest::field("beside");
        const QString copy = m_dir.filePath("copy/bin/tst_flows");
        QVERIFY(QDir(m_dir.filePath("copy")).removeRecursively());
        QVERIFY(QDir().mkpath(m_dir.filePath("copy/bin")));
        QVERIFY(QFile::copy(QCoreApplication::applicationFilePath(), copy));
        for (const QString& folder : beside.split(',', Qt::SkipEmptyParts))
            QVERIFY(QDir().mkpath(m_dir.filePath("copy/" + folder)));
        QProcess process;
        QProcessEnvironment variables = QProcessEnvironment::systemEnvironment();
        variables.insert("ORVEX_PRINT_CONFIG_FOLDER", "1");
        variables.remove(Startup::configDirVariable);
        process.setProcessEnvironment(variables);
        process.start(copy, QStringList());
        QVERIFY(process.waitForFinished());
        QCOMPARE(QString::fromLocal8Bit(process.readAllStandardOutput()),
                 QDir::toNativeSeparators(m_dir.filePath("copy/" + OrvexTest::field("taken"))));
    }
};

// A copy of this program started with ORVEX_PRINT_CONFIG_FOLDER only prints the configuration folder it
// would take, so that the folder is seen from an executable outside the build tree.
int main(int a_argc, char** a_argv)
{
    QApplication application(a_argc, a_argv);
    if (qEnvironmentVariableIsSet("ORVEX_PRINT_CONFIG_FOLDER")) {
        std::fputs(Startup::defaultConfigPath().toLocal8Bit().constData(), stdout);
        return 0;
    }
    TestFlows test;
    QTEST_SET_MAIN_SOURCE_PATH
    return QTest::qExec(&test, a_argc, a_argv);
}

#include "tst_flows.moc"

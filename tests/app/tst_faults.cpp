#include "TestSupport.h"
#include "app/CameraTreeModel.h"
#include "app/Window.h"
#include "app/WindowDocumentsPage.h"
#include "board/PreviewAcqIf.h"
#include "board/QNBrdDataSource.h"
#include "board/ViewportWindowQt.h"
#include "elements/CameraElement.h"
#include "elements/ModeElement.h"
#include "elements/WindowElement.h"
#include "platform/QNDriver.h"
#include "platform/SimFrameGenerator.h"
#include "widgets/DialogSeam.h"

#include <QAction>
#include <QDir>
#include <QFile>
#include <QLabel>
#include <QMenu>
#include <QPointer>
#include <QPushButton>
#include <QSettings>
#include <QSignalSpy>
#include <QSpinBox>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>
#include <QTreeView>

#include <csignal>
#include <memory>

#include <sys/resource.h>
#include <unistd.h>
#ifdef Q_OS_LINUX
#include <fcntl.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#endif

using namespace Orvex;
using State = Viewport::ImperativeAcquisitionInterface::State;

Q_DECLARE_METATYPE(QMessageBox::StandardButton)

namespace {

enum class SaveFault
{
    ReadOnlyFolder,
    TargetIsFolder,
    FolderIsFile,
    DiskFull
};

enum class DiskChange
{
    Rewritten,
    ReplacedByRename,
    Deleted,
    ReplacedByFolder
};

} // namespace

Q_DECLARE_METATYPE(SaveFault)
Q_DECLARE_METATYPE(DiskChange)

namespace {

const QString s_saveErrorTitle = QStringLiteral("File Save Error");
const QString s_saveErrorText = QStringLiteral("An error occured saving the camera file.");

const char* const g_previewFile = R"(<?xml version="1.0" encoding="UTF-8"?>
<quarnel_config>
  <camera standard="CoaXPress">
    <features><standard>CoaXPress</standard></features>
    <modes>
      <mode name="Small">
        <Sensor><Width>64</Width><Height>48</Height><PixelFormat>Mono8</PixelFormat></Sensor>
        <Timing><FrameRate>250</FrameRate></Timing>
      </mode>
    </modes>
  </camera>
</quarnel_config>
)";

std::unique_ptr<Window> makeWindow(const QString& a_configPath = QString())
{
    auto window = std::make_unique<Window>();
    window->setConfigPath(a_configPath.isEmpty() ? OrvexTest::sourcePath("config") : a_configPath);
    window->setCxpXsdPath(OrvexTest::sourcePath("config/Pld/LUMEX-CXP.xsd"));
    window->setClXsdPath(OrvexTest::sourcePath("config/Vrm/LUMEX-CL.xsd"));
    return window;
}

// Title and text of every message box shown so far; file choosers are left out.
QStringList messages()
{
    QStringList result;
    for (const DialogSeam::Record& record : DialogSeam::log()) {
        if (record.m_kind != DialogSeam::Kind::OpenFileName &&
            record.m_kind != DialogSeam::Kind::SaveFileName)
            result << record.m_title + QStringLiteral(": ") + record.m_text;
    }
    return result;
}

QStringList titles()
{
    QStringList result;
    for (const QString& message : messages())
        result << message.section(QStringLiteral(": "), 0, 0);
    return result;
}

bool writeFile(const QString& a_path, const QByteArray& a_content)
{
    QFile file(a_path);
    return file.open(QIODevice::WriteOnly | QIODevice::Truncate) && file.write(a_content) == a_content.size();
}

// What a path holds: the bytes of a file, "<folder>" for a folder, "<none>" for nothing.
QByteArray diskState(const QString& a_path)
{
    const QFileInfo info(a_path);
    if (info.isDir())
        return "<folder>";
    QFile file(a_path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("<none>");
}

QStringList modeNames(const Window& a_window)
{
    QStringList names;
    for (const ModeElement* mode : a_window.windowElement()->camera()->modes())
        names << mode->name();
    return names;
}

// An edit the saved file shows: the second mode moved to the top.
bool moveSecondModeUp(Window& a_window)
{
    a_window.cameraTreeView()->setCurrentIndex(a_window.cameraTreeModel()->modeIndex(1));
    for (QAction* action : a_window.findChildren<QAction*>()) {
        if (action->text() == QLatin1String("Move &Up"))
            action->trigger();
    }
    return modeNames(a_window).value(0) == QLatin1String("Fast") && a_window.isDocumentModified();
}

bool holdsMovedMode(const QString& a_path)
{
    const QByteArray content = diskState(a_path);
    const int fast = content.indexOf("<mode name=\"Fast\"");
    return fast >= 0 && fast < content.indexOf("<mode name=\"Default\"");
}

QMenu* boardMenu(const Window& a_window)
{
    for (QMenu* menu : a_window.findChildren<QMenu*>()) {
        if (menu->title() == QLatin1String("Open From &Board"))
            return menu;
    }
    return nullptr;
}

QStringList comboTexts(const QNBrdDataSource& a_source)
{
    QStringList texts;
    for (int item = 0; item < a_source.count(); ++item)
        texts << a_source.itemText(item);
    return texts;
}

// What the preview asked of board 0 since the last call.
QStringList boardEvents()
{
    QStringList events;
    for (const std::string& event : QNSim::SimFrameGenerator::takeEvents(0))
        events << QString::fromStdString(event);
    return events;
}

bool useBoards(const QString& a_path, const QByteArray& a_json)
{
    if (!writeFile(a_path, a_json))
        return false;
    qputenv("QN_SIM_BOARDS", QFile::encodeName(a_path));
    QNSimReload();
    return true;
}

// A folder no one may create files in for as long as this lives. Permission bits do not stop root,
// so root gets the immutable attribute instead, which binds root as well.
class ReadOnlyFolder
{
public:
    explicit ReadOnlyFolder(const QString& a_path) : m_path(a_path)
    {
        if (geteuid() == 0) {
            m_immutable = true;
            m_locked = setImmutable(true);
            return;
        }
        m_locked = QFile::setPermissions(m_path, QFile::ReadOwner | QFile::ExeOwner);
    }
    ~ReadOnlyFolder()
    {
        if (!m_locked)
            return;
        if (m_immutable)
            setImmutable(false);
        else
            QFile::setPermissions(m_path, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    }
    ReadOnlyFolder(const ReadOnlyFolder&) = delete;
    ReadOnlyFolder& operator=(const ReadOnlyFolder&) = delete;

    bool isLocked() const { return m_locked; }

private:
    bool setImmutable(bool a_on) const
    {
#ifdef Q_OS_LINUX
        const int fd = ::open(QFile::encodeName(m_path).constData(), O_RDONLY | O_DIRECTORY);
        if (fd < 0)
            return false;
        int flags = 0;
        bool done = ioctl(fd, FS_IOC_GETFLAGS, &flags) == 0;
        flags = a_on ? flags | FS_IMMUTABLE_FL : flags & ~FS_IMMUTABLE_FL;
        done = done && ioctl(fd, FS_IOC_SETFLAGS, &flags) == 0;
        ::close(fd);
        return done;
#else
        Q_UNUSED(a_on)
        return false;
#endif
    }

    QString m_path;
    bool m_immutable = false;
    bool m_locked = false;
};

// Writes past a_bytes fail with EFBIG for as long as this lives, as on a disk that has filled up.
class FileSizeLimit
{
public:
    explicit FileSizeLimit(rlim_t a_bytes)
    {
        if (getrlimit(RLIMIT_FSIZE, &m_previous) != 0)
            return;
        m_previousHandler = std::signal(SIGXFSZ, SIG_IGN);
        rlimit limit = m_previous;
        limit.rlim_cur = a_bytes;
        m_active = setrlimit(RLIMIT_FSIZE, &limit) == 0;
    }
    ~FileSizeLimit()
    {
        if (m_active)
            setrlimit(RLIMIT_FSIZE, &m_previous);
        if (m_previousHandler != SIG_ERR)
            std::signal(SIGXFSZ, m_previousHandler);
    }
    FileSizeLimit(const FileSizeLimit&) = delete;
    FileSizeLimit& operator=(const FileSizeLimit&) = delete;

    bool isActive() const { return m_active; }

private:
    rlimit m_previous{};
    void (*m_previousHandler)(int) = SIG_ERR;
    bool m_active = false;
};

} // namespace

class TestFaults : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();
    void saveFaults_data();
    void saveFaults();
    void documentChangedOnDisk_data();
    void documentChangedOnDisk();
    void boardGoneBeforeOpen_data();
    void boardGoneBeforeOpen();
    void malformedBoardDescription_data();
    void malformedBoardDescription();
    void acquisitionErrorDuringRun_data();
    void acquisitionErrorDuringRun();

private:
    QString copyExample(const QString& a_path);

    std::unique_ptr<QTemporaryDir> m_dir;
};

void TestFaults::initTestCase()
{
    QStandardPaths::setTestModeEnabled(true);
    QCoreApplication::setOrganizationName(QStringLiteral("Quarnel"));
    QCoreApplication::setApplicationName(QStringLiteral("OrvexFaults"));
    QSettings().clear();
}

void TestFaults::init()
{
    DialogSeam::reset();
    DialogSeam::setTestMode(true);
    m_dir = std::make_unique<QTemporaryDir>();
    QVERIFY(m_dir->isValid());
    QVERIFY(useBoards(m_dir->filePath("boards.json"), R"({"boards": []})"));
}

void TestFaults::cleanup()
{
    qunsetenv("QN_SIM_BOARDS");
    QNSimReset();
}

QString TestFaults::copyExample(const QString& a_path)
{
    if (!QDir().mkpath(QFileInfo(a_path).absolutePath()) ||
        !QFile::copy(OrvexTest::sourcePath("examples/Example_CL.lumex"), a_path))
        return QString();
    QFile::setPermissions(a_path, QFile::ReadOwner | QFile::WriteOwner);
    return a_path;
}

void TestFaults::saveFaults_data()
{
    QTest::addColumn<SaveFault>("fault");

    QTest::newRow("over the document in a read-only folder") << SaveFault::ReadOnlyFolder;
    QTest::newRow("as a name that is a folder") << SaveFault::TargetIsFolder;
    QTest::newRow("into a folder that is a file") << SaveFault::FolderIsFile;
    QTest::newRow("over the document as the disk fills up") << SaveFault::DiskFull;
}

void TestFaults::saveFaults()
{
    QFETCH(SaveFault, fault);

    auto window = makeWindow();
    const QString folder = m_dir->filePath("doc");
    const QString document = copyExample(QDir(folder).filePath("cam.lumex"));
    QVERIFY(window->openFile(document));
    QVERIFY(moveSecondModeUp(*window));
    const QByteArray original = diskState(document);
    const QString title = window->windowTitle();

    QString target = document;
    std::unique_ptr<ReadOnlyFolder> readOnly;
    std::unique_ptr<FileSizeLimit> sizeLimit;
    switch (fault) {
    case SaveFault::ReadOnlyFolder:
        readOnly = std::make_unique<ReadOnlyFolder>(folder);
        if (!readOnly->isLocked())
            QSKIP("As root, on a file system without the immutable attribute, no folder is read-only.");
        break;
    case SaveFault::TargetIsFolder:
        target = QDir(folder).filePath("other.lumex");
        QVERIFY(QDir().mkpath(target));
        break;
    case SaveFault::FolderIsFile:
        QVERIFY(writeFile(QDir(folder).filePath("notes"), "plain text\n"));
        target = QDir(folder).filePath("notes/other.lumex");
        break;
    case SaveFault::DiskFull:
        sizeLimit = std::make_unique<FileSizeLimit>(original.size() / 4);
        QVERIFY(sizeLimit->isActive());
        break;
    }
    const QStringList entriesBefore = QDir(folder).entryList(QDir::AllEntries | QDir::Hidden | QDir::System);
    const QByteArray targetBefore = diskState(target);

    if (target == document) {
        QVERIFY(!window->save());
    } else {
        DialogSeam::queueFileName(target);
        QVERIFY(!window->saveAs());
    }
    sizeLimit.reset();

    QCOMPARE(messages(), QStringList{s_saveErrorTitle + ": " + s_saveErrorText});
    QCOMPARE(diskState(document), original);
    QCOMPARE(diskState(target), targetBefore);
    QCOMPARE(QDir(folder).entryList(QDir::AllEntries | QDir::Hidden | QDir::System), entriesBefore);
    QVERIFY(window->isDocumentModified());
    QCOMPARE(window->documentPath(), QDir::toNativeSeparators(document));
    QCOMPARE(window->windowTitle(), title);

    const QString recovered = m_dir->filePath("recovered.lumex");
    DialogSeam::queueFileName(recovered);
    QVERIFY(window->saveAs());
    QVERIFY(!window->isDocumentModified());
    QVERIFY(holdsMovedMode(recovered));
    QCOMPARE(diskState(document), original);
}

void TestFaults::documentChangedOnDisk_data()
{
    QTest::addColumn<DiskChange>("change");
    QTest::addColumn<QMessageBox::StandardButton>("answer");
    QTest::addColumn<QString>("question");
    QTest::addColumn<bool>("reloaded");
    QTest::addColumn<bool>("copySaved");

    const QString changed = QStringLiteral("Current File Changed");
    const QString missing = QStringLiteral("Current File Missing");
    QTest::newRow("rewritten, reloaded")
        << DiskChange::Rewritten << QMessageBox::Yes << changed << true << false;
    QTest::newRow("rewritten, kept") << DiskChange::Rewritten << QMessageBox::No << changed << false << false;
    QTest::newRow("replaced by another program's save, reloaded")
        << DiskChange::ReplacedByRename << QMessageBox::Yes << changed << true << false;
    QTest::newRow("deleted, copy saved")
        << DiskChange::Deleted << QMessageBox::Save << missing << false << true;
    QTest::newRow("deleted, ignored")
        << DiskChange::Deleted << QMessageBox::Ignore << missing << false << false;
    QTest::newRow("replaced by a folder, copy saved")
        << DiskChange::ReplacedByFolder << QMessageBox::Save << missing << false << true;
    QTest::newRow("replaced by a folder, ignored")
        << DiskChange::ReplacedByFolder << QMessageBox::Ignore << missing << false << false;
}

void TestFaults::documentChangedOnDisk()
{
    QFETCH(DiskChange, change);
    QFETCH(QMessageBox::StandardButton, answer);
    QFETCH(QString, question);
    QFETCH(bool, reloaded);
    QFETCH(bool, copySaved);

    auto window = makeWindow();
    const QString document = copyExample(m_dir->filePath("cam.lumex"));
    QVERIFY(window->openFile(document));
    const QStringList modesBefore = modeNames(*window);
    QByteArray rewritten = diskState(document);
    rewritten.replace("<mode name=\"Precision\"", "<mode name=\"Exact\"");
    QVERIFY(rewritten != diskState(document));

    const QString copy = m_dir->filePath("copy.lumex");
    DialogSeam::queueAnswer(answer);
    if (copySaved)
        DialogSeam::queueFileName(copy);
    switch (change) {
    case DiskChange::Rewritten:
        QVERIFY(writeFile(document, rewritten));
        break;
    case DiskChange::ReplacedByRename:
        QVERIFY(writeFile(document + ".new", rewritten));
        QVERIFY(::rename(QFile::encodeName(document + ".new").constData(),
                         QFile::encodeName(document).constData()) == 0);
        break;
    case DiskChange::Deleted:
        QVERIFY(QFile::remove(document));
        break;
    case DiskChange::ReplacedByFolder:
        QVERIFY(QFile::remove(document));
        QVERIFY(QDir().mkpath(document));
        break;
    }
    const QByteArray left = diskState(document);

    QTRY_VERIFY(!titles().isEmpty());
    QCOMPARE(titles(), QStringList{question});
    QCOMPARE(DialogSeam::pendingAnswers(), 0);
    QCOMPARE(DialogSeam::pendingFileNames(), 0);
    QVERIFY(window->hasDocument());
    QCOMPARE(window->isDocumentModified(), !reloaded && !copySaved);
    QCOMPARE(window->documentPath(), QDir::toNativeSeparators(copySaved ? copy : document));
    QStringList modesAfter = modesBefore;
    if (reloaded)
        modesAfter.replaceInStrings(QStringLiteral("Precision"), QStringLiteral("Exact"));
    QCOMPARE(modeNames(*window), modesAfter);
    QCOMPARE(diskState(document), left);
    if (copySaved)
        QVERIFY(diskState(copy).contains("<mode name=\"Precision\""));

    const QString after = m_dir->filePath("after.lumex");
    DialogSeam::queueFileName(after);
    QVERIFY(window->saveAs());
    QVERIFY(!window->isDocumentModified());
    QCOMPARE(titles(), QStringList{question});
}

void TestFaults::boardGoneBeforeOpen_data()
{
    QTest::addColumn<bool>("fileOfItsKindOpen");
    QTest::addColumn<QByteArray>("boardsAtOpen");

    QTest::newRow("board removed") << false << QByteArray(R"({"boards": []})");
    QTest::newRow("board removed while the editor lists it") << true << QByteArray(R"({"boards": []})");
    QTest::newRow("board of another kind in its place")
        << false << QByteArray(R"({"boards": [{"kind": "CoaXPress", "mk2": true, "model": "Sim CXP"}]})");
}

void TestFaults::boardGoneBeforeOpen()
{
    QFETCH(bool, fileOfItsKindOpen);
    QFETCH(QByteArray, boardsAtOpen);

    const QString config = m_dir->filePath("config");
    const QString attached = copyExample(QDir(config).filePath("Vrm/cam.lumex"));
    const QString boards = m_dir->filePath("boards.json");
    QVERIFY(useBoards(boards, R"({"boards": [{"kind": "CameraLink", "mk2": true, "model": "Sim CL",
                                              "registry": {"QNCamList": ["Fast@cam.lumex"]}}]})"));
    auto window = makeWindow(config);
    if (fileOfItsKindOpen)
        QVERIFY(window->openFile(copyExample(m_dir->filePath("other.lumex"))));
    QCOMPARE(window->boardDataSource()->count(), 2);
    QAction* entry = nullptr;
    for (QAction* action : boardMenu(*window)->findChildren<QAction*>()) {
        if (action->text() == QLatin1String("Fast@cam.lumex"))
            entry = action;
    }
    QVERIFY(entry);

    QVERIFY(useBoards(boards, boardsAtOpen));
    entry->trigger();

    QVERIFY(titles().isEmpty());
    QCOMPARE(window->documentPath(), QDir::toNativeSeparators(attached));
    QCOMPARE(window->windowElement()->camera()->currentMode()->name(), QStringLiteral("Fast"));
    QCOMPARE(window->boardDataSource()->currentText(), QStringLiteral("No Source"));
    QVERIFY(!window->boardDataSource()->isBoardOpen());
    QVERIFY(window->closeDocument());
}

void TestFaults::malformedBoardDescription_data()
{
    QTest::addColumn<QByteArray>("json");
    QTest::addColumn<bool>("boardsFound");

    const QByteArray good =
        R"({"kind": "CameraLink", "mk2": true, "registry": {"QNCamList": ["Fast@cam.lumex"]}})";
    QTest::newRow("well formed") << QByteArray(R"({"boards": [)" + good + "]}") << true;
    QTest::newRow("boards not a list") << QByteArray(R"({"boards": )" + good + "}") << false;
    QTest::newRow("board not an object") << QByteArray(R"({"boards": ["CameraLink"]})") << false;
    QTest::newRow("kind a number") << QByteArray(R"({"boards": [{"kind": 1, "mk2": true}]})") << false;
    QTest::newRow("mk2 a text") << QByteArray(R"({"boards": [{"kind": "CameraLink", "mk2": "yes"}]})")
                                << false;
    QTest::newRow("attached files a text")
        << QByteArray(
               R"({"boards": [{"kind": "CameraLink", "mk2": true, "registry": {"QNCamList": "cam.lumex"}}]})")
        << false;
    QTest::newRow("attached file a number")
        << QByteArray(R"({"boards": [{"kind": "CameraLink", "mk2": true, "registry": {"QNCamList": [7]}}]})")
        << false;
    QTest::newRow("good board before a bad one")
        << QByteArray(R"({"boards": [)" + good + R"(, {"kind": "CameraLink", "serial": "x"}]})") << false;
    QTest::newRow("top level a list") << QByteArray("[" + good + "]") << false;
}

void TestFaults::malformedBoardDescription()
{
    QFETCH(QByteArray, json);
    QFETCH(bool, boardsFound);

    const QString config = m_dir->filePath("config");
    QVERIFY(!copyExample(QDir(config).filePath("Vrm/cam.lumex")).isEmpty());
    QVERIFY(writeFile(QDir(config).filePath("SimBoards.json"), json));
    qunsetenv("QN_SIM_BOARDS");
    QNSimSetConfigDir(QFile::encodeName(config).constData());
    QNSimReload();

    auto window = makeWindow(config);
    QMenu* menu = boardMenu(*window);
    QVERIFY(menu);
    for (int pass = 0; pass < 2; ++pass) {
        QStringList entries;
        for (const QAction* action : menu->actions())
            entries << action->text() + (action->isEnabled() ? "" : " (disabled)");
        if (boardsFound) {
            QCOMPARE(entries.size(), 2);
            QVERIFY(!entries.contains("No Boards Detected (disabled)"));
            QCOMPARE(window->boardDataSource()->count(), 2);
        } else {
            QCOMPARE(entries, (QStringList{"Refresh", "No Boards Detected (disabled)"}));
            QCOMPARE(comboTexts(*window->boardDataSource()), QStringList{"No Source"});
            bool noFilesShown = false;
            for (const QLabel* label : window->documentsPage()->findChildren<QLabel*>())
                noFilesShown = noFilesShown || label->text() == QLatin1String("<i>No files attached.</i>");
            QVERIFY(noFilesShown);
        }
        menu->actions().first()->trigger();
    }

    QVERIFY(window->openFile(copyExample(m_dir->filePath("cam.lumex"))));
    QVERIFY(titles().isEmpty());
    QCOMPARE(window->boardDataSource()->isBoardOpen(), boardsFound);
}

void TestFaults::acquisitionErrorDuringRun_data()
{
    QTest::addColumn<QString>("run");
    QTest::addColumn<int>("code");

    QTest::newRow("free run, acquisition failed") << "startButton" << 0x10006;
    QTest::newRow("fixed run, acquisition failed") << "startFixedButton" << 0x10006;
    QTest::newRow("free run, board gone from the driver") << "startButton" << int(QNStatusBadHandle);
}

void TestFaults::acquisitionErrorDuringRun()
{
    QFETCH(QString, run);
    QFETCH(int, code);

    QVERIFY(useBoards(m_dir->filePath("boards.json"),
                      R"({"boards": [{"kind": "CoaXPress", "mk2": true, "model": "Sim CXP"}]})"));
    const QString cameraFile = m_dir->filePath("preview.lumex");
    QVERIFY(writeFile(cameraFile, g_previewFile));
    QPointer<Viewport::WindowQt> viewer = PreviewAcqIf::openPreview(0, cameraFile, QStringLiteral("Small"));
    QVERIFY(viewer);
    viewer->show();
    auto* acquisition = qobject_cast<PreviewAcqIf*>(viewer->acquisition());
    QVERIFY(acquisition);
    const auto button = [&viewer](const char* a_name) { return viewer->findChild<QPushButton*>(a_name); };
    auto* status = viewer->findChild<QLabel*>("statusLabel");
    QVERIFY(status);

    if (run == QLatin1String("startFixedButton"))
        viewer->findChild<QSpinBox*>("fixedFrameCount")->setValue(100000);
    button(run.toLatin1().constData())->click();
    QTRY_VERIFY(acquisition->framesDelivered() >= 2);
    QSignalSpy changes(acquisition, &PreviewAcqIf::acquisitionStateChanged);
    boardEvents();

    QVERIFY(QNSim::SimFrameGenerator::injectWaitResult(0, code));
    QTRY_COMPARE(acquisition->acquisitionState(), State::Stopped);
    QTRY_COMPARE(changes.count(), 1);
    QCOMPARE(boardEvents(), QStringList{"control 4/256"});
    QTRY_VERIFY(button("startButton")->isEnabled());
    QVERIFY(!button("stopButton")->isEnabled());
    QVERIFY(!button("pauseButton")->isEnabled());

    button("startButton")->click();
    QCOMPARE(status->text(), QString());
    QCOMPARE(acquisition->acquisitionState(), State::Running);
    const quint64 restarted = acquisition->framesDelivered();
    QTRY_VERIFY(acquisition->framesDelivered() >= restarted + 2);

    button("cleanupButton")->click();
    QCOMPARE(status->text(), QString());
    QCOMPARE(acquisition->acquisitionState(), State::NotSetUp);
    QVERIFY(button("setupButton")->isEnabled());
    viewer->close();
    QTRY_VERIFY(!viewer);
}

QTEST_MAIN(TestFaults)
#include "tst_faults.moc"

#include "BoardFixtures.h"
#include "TestSupport.h"
#include "WindowFixtures.h"
#include "app/CameraTreeModel.h"
#include "app/Window.h"
#include "board/QNBrdDataSource.h"
#include "board/QNBrdModeOpenDialog.h"
#include "elements/CameraElement.h"
#include "elements/ModeElement.h"
#include "elements/WindowElement.h"
#include "platform/QNDriver.h"
#include "widgets/DialogSeam.h"

#include <QAction>
#include <QApplication>
#include <QDir>
#include <QFileSystemWatcher>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

#include <csignal>

#include <sys/resource.h>
#include <unistd.h>
#ifdef Q_OS_LINUX
#include <fcntl.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#endif

using namespace Orvex;
using namespace OrvexTest;
using Answers = QList<QMessageBox::StandardButton>;

namespace {

enum class Fault
{
    ReadOnlyFolder,
    TargetIsFolder,
    FolderIsFile,
    DiskFull,
    Rewritten,
    ReplacedByRename,
    Deleted,
    ReplacedByFolder
};

} // namespace

Q_DECLARE_METATYPE(Fault)
Q_DECLARE_METATYPE(QMessageBox::StandardButton)
Q_DECLARE_METATYPE(Answers)

namespace {

// Sets the immutable attribute, which binds root as well (permission bits do not).
bool setImmutable(const QString& a_path, bool a_on)
{
#ifdef Q_OS_LINUX
    const int fd = ::open(QFile::encodeName(a_path).constData(), O_RDONLY | O_DIRECTORY);
    int flags = 0;
    bool done = fd >= 0 && ioctl(fd, FS_IOC_GETFLAGS, &flags) == 0;
    flags = a_on ? flags | FS_IMMUTABLE_FL : flags & ~FS_IMMUTABLE_FL;
    done = done && ioctl(fd, FS_IOC_SETFLAGS, &flags) == 0;
    if (fd >= 0)
        ::close(fd);
    return done;
#else
    return false;
#endif
}

// A folder no one may create files in; false when this system cannot make one.
bool lockFolder(const QString& a_path, bool a_locked)
{
    if (geteuid() == 0)
        return setImmutable(a_path, a_locked);
    return QFile::setPermissions(a_path, QFile::ReadOwner | QFile::ExeOwner |
                                             (a_locked ? QFile::Permissions() : QFile::WriteOwner));
}

// Writes past a_bytes fail with EFBIG for as long as this lives, as on a disk that has filled up.
struct FileSizeLimit
{
    explicit FileSizeLimit(rlim_t a_bytes)
    {
        getrlimit(RLIMIT_FSIZE, &m_previous);
        std::signal(SIGXFSZ, SIG_IGN);
        rlimit limit = m_previous;
        limit.rlim_cur = a_bytes;
        m_active = setrlimit(RLIMIT_FSIZE, &limit) == 0;
    }
    ~FileSizeLimit() { setrlimit(RLIMIT_FSIZE, &m_previous); }
    rlimit m_previous{};
    bool m_active = false;
};

} // namespace

class TestFaults : public QObject
{
    Q_OBJECT

    std::unique_ptr<QTemporaryDir> m_dir;

private slots:
    void initTestCase() { isolateSettings(QStringLiteral("OrvexFaults")); }

    void init()
    {
        DialogSeam::reset();
        DialogSeam::setTestMode(true);
        m_dir = std::make_unique<QTemporaryDir>();
        QVERIFY(m_dir->isValid());
        QVERIFY(loadSimBoards(m_dir->filePath("boards.json"), R"({"boards": []})"));
    }

    void cleanup()
    {
        qunsetenv("QN_SIM_BOARDS");
        QNSimReset();
    }

    void saveFaults_data()
    {
        QTest::addColumn<Fault>("fault");
        QTest::newRow("over the document in a read-only folder") << Fault::ReadOnlyFolder;
        QTest::newRow("as a name that is a folder") << Fault::TargetIsFolder;
        QTest::newRow("into a folder that is a file") << Fault::FolderIsFile;
        QTest::newRow("over the document as the disk fills up") << Fault::DiskFull;
    }

    // A failed save leaves every file as it was and the document modified, and a later Save As works.
    void saveFaults()
    {
        QFETCH(Fault, fault);
        auto window = makeWindow();
        const QString folder = m_dir->filePath("doc");
        const QString document = copyExample(QDir(folder).filePath("cam.lumex"));
        QVERIFY(window->openFile(document));
        QVERIFY(moveSecondModeUp(*window));
        const QByteArray original = diskState(document);
        const QString title = window->windowTitle();

        QString target = document;
        if (fault == Fault::ReadOnlyFolder && !lockFolder(folder, true))
            QSKIP("As root, on a file system without the immutable attribute, no folder is read-only.");
        if (fault == Fault::TargetIsFolder)
            QVERIFY(QDir().mkpath(target = QDir(folder).filePath("other.lumex")));
        if (fault == Fault::FolderIsFile) {
            QVERIFY(writeFile(QDir(folder).filePath("notes"), "plain text\n"));
            target = QDir(folder).filePath("notes/other.lumex");
        }
        std::unique_ptr<FileSizeLimit> sizeLimit;
        if (fault == Fault::DiskFull) {
            sizeLimit = std::make_unique<FileSizeLimit>(original.size() / 4);
            QVERIFY(sizeLimit->m_active);
        }
        const auto entries = [&folder] { return QDir(folder).entryList(QDir::AllEntries | QDir::Hidden); };
        const QStringList entriesBefore = entries();
        const QByteArray targetBefore = diskState(target);

        if (target != document)
            DialogSeam::queueFileName(target);
        const bool saved = target == document ? window->save() : window->saveAs();
        sizeLimit.reset();
        const bool unlocked = fault != Fault::ReadOnlyFolder || lockFolder(folder, false);
        QVERIFY(!saved);
        QVERIFY(unlocked);
        QCOMPARE(messages(), QStringList{"File Save Error: An error occured saving the camera file."});
        QCOMPARE(diskState(document), original);
        QCOMPARE(diskState(target), targetBefore);
        QCOMPARE(entries(), entriesBefore);
        QVERIFY(window->isDocumentModified());
        QCOMPARE(window->documentPath(), QDir::toNativeSeparators(document));
        QCOMPARE(window->windowTitle(), title);

        DialogSeam::queueFileName(m_dir->filePath("recovered.lumex"));
        QVERIFY(window->saveAs());
        QVERIFY(!window->isDocumentModified());
        QCOMPARE(diskState(m_dir->filePath("recovered.lumex")), diskState(window->documentPath()));
        QCOMPARE(diskState(document), original);
    }

    void documentChangedOnDisk_data()
    {
        QTest::addColumn<Fault>("change");
        QTest::addColumn<QMessageBox::StandardButton>("answer");
        QTest::addColumn<QString>("question");
        QTest::addColumn<bool>("reloaded");
        QTest::addColumn<bool>("copySaved");

        const QString changed = QStringLiteral("Current File Changed");
        const QString missing = QStringLiteral("Current File Missing");
        QTest::newRow("rewritten, reloaded")
            << Fault::Rewritten << QMessageBox::Yes << changed << true << false;
        QTest::newRow("rewritten, kept") << Fault::Rewritten << QMessageBox::No << changed << false << false;
        QTest::newRow("replaced by another program's save, reloaded")
            << Fault::ReplacedByRename << QMessageBox::Yes << changed << true << false;
        QTest::newRow("deleted, copy saved")
            << Fault::Deleted << QMessageBox::Save << missing << false << true;
        QTest::newRow("deleted, ignored")
            << Fault::Deleted << QMessageBox::Ignore << missing << false << false;
        QTest::newRow("replaced by a folder, copy saved")
            << Fault::ReplacedByFolder << QMessageBox::Save << missing << false << true;
        QTest::newRow("replaced by a folder, ignored")
            << Fault::ReplacedByFolder << QMessageBox::Ignore << missing << false << false;
    }

    void documentChangedOnDisk()
    {
        QFETCH(Fault, change);
        QFETCH(QMessageBox::StandardButton, answer);
        QFETCH(QString, question);
        QFETCH(bool, reloaded);
        QFETCH(bool, copySaved);

        auto window = makeWindow();
        const QString document = copyExample(m_dir->filePath("cam.lumex"));
        QVERIFY(window->openFile(document));
        QVERIFY(moveSecondModeUp(*window));
        QVERIFY(window->save());
        // Our own save, and a touch that leaves the contents as they are, are no changes to report.
        QSignalSpy reports(window->findChild<QFileSystemWatcher*>(), &QFileSystemWatcher::fileChanged);
        QVERIFY(writeFile(document, diskState(document)));
        QTRY_VERIFY(!reports.isEmpty());
        QCOMPARE(messages(), QStringList());

        const QStringList modesBefore = modeNames(*window);
        QByteArray rewritten = diskState(document);
        QVERIFY(rewritten.contains("<mode name=\"Precision\""));
        rewritten.replace("<mode name=\"Precision\"", "<mode name=\"Exact\"");
        const QString copy = m_dir->filePath("copy.lumex");
        DialogSeam::queueAnswer(answer);
        if (copySaved)
            DialogSeam::queueFileName(copy);
        if (change == Fault::Rewritten)
            QVERIFY(writeFile(document, rewritten));
        if (change == Fault::ReplacedByRename) {
            QVERIFY(writeFile(document + ".new", rewritten));
            QCOMPARE(::rename(QFile::encodeName(document + ".new"), QFile::encodeName(document)), 0);
        }
        if (change == Fault::Deleted || change == Fault::ReplacedByFolder)
            QVERIFY(QFile::remove(document));
        if (change == Fault::ReplacedByFolder)
            QVERIFY(QDir().mkpath(document));
        const QByteArray left = diskState(document);

        QTRY_VERIFY(!messages().isEmpty());
        QCOMPARE(messageTitles(), QStringList{question});
        QVERIFY(messages().first().contains("<p>" + QDir::toNativeSeparators(document) + "</p>"));
        QCOMPARE(DialogSeam::pendingAnswers() + DialogSeam::pendingFileNames(), 0);
        QCOMPARE(window->isDocumentModified(), !reloaded && !copySaved);
        QCOMPARE(window->documentPath(), QDir::toNativeSeparators(copySaved ? copy : document));
        QCOMPARE(modeNames(*window).join(','),
                 reloaded ? modesBefore.join(',').replace("Precision", "Exact") : modesBefore.join(','));
        QCOMPARE(diskState(document), left);
        if (copySaved)
            QVERIFY(diskState(copy).contains("<mode name=\"Precision\""));

        DialogSeam::queueFileName(m_dir->filePath("after.lumex"));
        QVERIFY(window->saveAs());
        QVERIFY(!window->isDocumentModified());
        QCOMPARE(messageTitles(), QStringList{question});
    }

    void saveBeforePreview_data()
    {
        QTest::addColumn<Answers>("answers");
        QTest::addColumn<QStringList>("questions");
        QTest::addColumn<bool>("saved");

        const QString preview = QStringLiteral("Save Camera Configuration?");
        const QString noDefault = QStringLiteral("\"Default\" Mode Missing");
        QTest::newRow("preview cancelled") << Answers{QMessageBox::Cancel} << QStringList{preview} << false;
        QTest::newRow("file without a \"Default\" mode kept unsaved")
            << Answers{QMessageBox::Save, QMessageBox::Cancel} << QStringList{preview, noDefault} << false;
        QTest::newRow("saved, then the board and mode asked for")
            << Answers{QMessageBox::Save, QMessageBox::Save} << QStringList{preview, noDefault} << true;
    }

    void saveBeforePreview()
    {
        QFETCH(Answers, answers);
        QFETCH(QStringList, questions);
        QFETCH(bool, saved);

        auto window = makeWindow();
        const QString document = copyExample(m_dir->filePath("cam.lumex"));
        QVERIFY(window->openFile(document));
        QVERIFY(window->cameraTreeModel()->setData(window->cameraTreeModel()->modeIndex(0), "Normal"));
        const QByteArray original = diskState(document);
        for (QMessageBox::StandardButton answer : answers)
            DialogSeam::queueAnswer(answer);
        QTimer chooserCloser;
        connect(&chooserCloser, &QTimer::timeout, [] {
            if (auto* chooser = qobject_cast<QNBrdModeOpenDialog*>(QApplication::activeModalWidget()))
                chooser->reject();
        });
        chooserCloser.start(0);

        window->openPreview();
        QCOMPARE(messageTitles(), questions);
        QCOMPARE(DialogSeam::log().first().m_defaultButton, QMessageBox::Cancel);
        QCOMPARE(window->isDocumentModified(), !saved);
        QCOMPARE(diskState(document).contains("<mode name=\"Normal\""), saved);
        if (!saved)
            QCOMPARE(diskState(document), original);
    }

    void boardGoneBeforeOpen_data()
    {
        QTest::addColumn<bool>("fileOfItsKindOpen");
        QTest::addColumn<QByteArray>("boardsAtOpen");

        QTest::newRow("board removed") << false << QByteArray(R"({"boards": []})");
        QTest::newRow("board removed while the editor lists it") << true << QByteArray(R"({"boards": []})");
        QTest::newRow("board of another kind in its place")
            << false << QByteArray(R"({"boards": [{"kind": "CoaXPress", "mk2": true, "model": "Sim CXP"}]})");
    }

    // The file attached to a board opens, on no board, when the board is gone by then.
    void boardGoneBeforeOpen()
    {
        QFETCH(bool, fileOfItsKindOpen);
        QFETCH(QByteArray, boardsAtOpen);

        const QString config = m_dir->filePath("config");
        const QString attached = copyExample(QDir(config).filePath("Vrm/cam.lumex"));
        const QString boards = m_dir->filePath("boards.json");
        QVERIFY(loadSimBoards(boards, R"({"boards": [{"kind": "CameraLink", "mk2": true, "model": "Sim CL",
                                                  "registry": {"QNCamList": ["Fast@cam.lumex"]}}]})"));
        auto window = makeWindow(config);
        if (fileOfItsKindOpen)
            QVERIFY(window->openFile(copyExample(m_dir->filePath("other.lumex"))));
        QCOMPARE(window->boardDataSource()->count(), 2);
        QAction* entry = windowAction(*window, "Fast@cam.lumex");
        QVERIFY(entry);

        QVERIFY(loadSimBoards(boards, boardsAtOpen));
        entry->trigger();
        QCOMPARE(messages(), QStringList());
        QCOMPARE(window->documentPath(), QDir::toNativeSeparators(attached));
        QCOMPARE(window->windowElement()->camera()->currentMode()->name(), QStringLiteral("Fast"));
        QCOMPARE(window->boardDataSource()->currentText(), QStringLiteral("No Source"));
        QVERIFY(!window->boardDataSource()->isBoardOpen());
    }
};

QTEST_MAIN(TestFaults)
#include "tst_faults.moc"

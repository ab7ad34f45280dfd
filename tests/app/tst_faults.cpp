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

Q_DECLARE_METATYPE(QMessageBox::StandardButton)
Q_DECLARE_METATYPE(Answers)

namespace {

// A folder no one may create files in; false when this system cannot make one. Permission bits do not
// bind root, so root gets the immutable attribute instead.
bool lockFolder(const QString& a_path, bool a_locked)
{
    if (geteuid() != 0) {
        return QFile::setPermissions(a_path, QFile::ReadOwner | QFile::ExeOwner |
                                                 (a_locked ? QFile::Permissions() : QFile::WriteOwner));
    }
    int flags = 0;
    bool done = false;
#ifdef Q_OS_LINUX
    const int fd = ::open(QFile::encodeName(a_path).constData(), O_RDONLY | O_DIRECTORY);
    done = fd >= 0 && ioctl(fd, FS_IOC_GETFLAGS, &flags) == 0;
    flags = a_locked ? flags | FS_IMMUTABLE_FL : flags & ~FS_IMMUTABLE_FL;
    done = done && ioctl(fd, FS_IOC_SETFLAGS, &flags) == 0;
    ::close(fd);
#endif
    return done;
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
        QVERIFY((m_dir = startWindowTest())->isValid());
        QVERIFY(loadSimBoards(m_dir->filePath("boards.json"), R"({"boards": []})"));
    }

    void saveFaults_data()
    {
        QTest::addColumn<QString>("fault");
        QTest::newRow("over the document in a read-only folder") << "read-only";
        QTest::newRow("as a name that is a folder") << "target a folder";
        QTest::newRow("into a folder that is a file") << "folder a file";
        QTest::newRow("over the document as the disk fills up") << "disk full";
    }

    // A failed save leaves every file as it was and the document modified, and a later Save As works.
    void saveFaults()
    {
        QFETCH(QString, fault);
        auto window = makeWindow();
        const QString folder = m_dir->filePath("doc");
        const QString document = copyExample(QDir(folder).filePath("cam.lumex"));
        QVERIFY(window->openFile(document));
        QVERIFY(moveSecondModeUp(*window));
        const QByteArray original = diskState(document);

        QString target = document;
        if (fault == "read-only" && !lockFolder(folder, true))
            QSKIP("As root, on a file system without the immutable attribute, no folder is read-only.");
        if (fault == "target a folder")
            QVERIFY(QDir().mkpath(target = QDir(folder).filePath("other.lumex")));
        if (fault == "folder a file") {
            QVERIFY(writeFile(QDir(folder).filePath("notes"), "plain text\n"));
            target = QDir(folder).filePath("notes/other.lumex");
        }
        std::unique_ptr<FileSizeLimit> sizeLimit;
        if (fault == "disk full") {
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
        const bool unlocked = fault != "read-only" || lockFolder(folder, false);
        QVERIFY(!saved && unlocked);
        QCOMPARE(messages(), QStringList{"File Save Error: An error occured saving the camera file."});
        QCOMPARE(diskState(document), original);
        QCOMPARE(diskState(target), targetBefore);
        QCOMPARE(entries(), entriesBefore);
        QVERIFY(window->isDocumentModified());
        QCOMPARE(window->documentPath(), QDir::toNativeSeparators(document));

        DialogSeam::queueFileName(m_dir->filePath("recovered.lumex"));
        QVERIFY(window->saveAs());
        QVERIFY(!window->isDocumentModified());
        QCOMPARE(diskState(m_dir->filePath("recovered.lumex")), diskState(window->documentPath()));
        QCOMPARE(diskState(document), original);
    }

    void documentChangedOnDisk_data()
    {
        QTest::addColumn<QString>("change");
        QTest::addColumn<QMessageBox::StandardButton>("answer");
        QTest::newRow("rewritten, reloaded") << "rewritten" << QMessageBox::Yes;
        QTest::newRow("rewritten, kept") << "rewritten" << QMessageBox::No;
        QTest::newRow("replaced by another program's save, reloaded") << "renamed over" << QMessageBox::Yes;
        QTest::newRow("deleted, copy saved") << "deleted" << QMessageBox::Save;
        QTest::newRow("deleted, ignored") << "deleted" << QMessageBox::Ignore;
        QTest::newRow("replaced by a folder, copy saved") << "folder" << QMessageBox::Save;
        QTest::newRow("replaced by a folder, ignored") << "folder" << QMessageBox::Ignore;
    }

    void documentChangedOnDisk()
    {
        QFETCH(QString, change);
        QFETCH(QMessageBox::StandardButton, answer);
        const bool reloaded = answer == QMessageBox::Yes;
        const bool copySaved = answer == QMessageBox::Save;
        const QString question = change == "rewritten" || change == "renamed over" ? "Current File Changed"
                                                                                   : "Current File Missing";

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

        QByteArray rewritten = diskState(document);
        rewritten.replace("<mode name=\"Precision\"", "<mode name=\"Exact\"");
        const QString copy = m_dir->filePath("copy.lumex");
        DialogSeam::queueAnswer(answer);
        if (copySaved)
            DialogSeam::queueFileName(copy);
        if (change == "rewritten")
            QVERIFY(writeFile(document, rewritten));
        if (change == "renamed over") {
            QVERIFY(writeFile(document + ".new", rewritten));
            QCOMPARE(::rename(QFile::encodeName(document + ".new"), QFile::encodeName(document)), 0);
        }
        if (change == "deleted" || change == "folder")
            QVERIFY(QFile::remove(document));
        if (change == "folder")
            QVERIFY(QDir().mkpath(document));
        const QByteArray left = diskState(document);

        QTRY_VERIFY(!messages().isEmpty());
        QCOMPARE(messages(true), QStringList{question});
        QVERIFY(messages().first().contains("<p>" + QDir::toNativeSeparators(document) + "</p>"));
        QCOMPARE(window->isDocumentModified(), !reloaded && !copySaved);
        QCOMPARE(window->documentPath(), QDir::toNativeSeparators(copySaved ? copy : document));
        QCOMPARE(modeNames(*window).contains("Exact"), reloaded);
        QCOMPARE(diskState(document), left);
        if (copySaved)
            QVERIFY(diskState(copy).contains("<mode name=\"Precision\""));

        DialogSeam::queueFileName(m_dir->filePath("after.lumex"));
        QVERIFY(window->saveAs());
        QVERIFY(!window->isDocumentModified());
        QCOMPARE(messages(true), QStringList{question});
    }

    void saveBeforePreview_data()
    {
        QTest::addColumn<Answers>("answers");
        QTest::newRow("preview cancelled") << Answers{QMessageBox::Cancel};
        QTest::newRow("file without a \"Default\" mode kept unsaved")
            << Answers{QMessageBox::Save, QMessageBox::Cancel};
        QTest::newRow("saved, then the board and mode asked for")
            << Answers{QMessageBox::Save, QMessageBox::Save};
    }

    void saveBeforePreview()
    {
        QFETCH(Answers, answers);
        const bool saved = answers.value(1) == QMessageBox::Save;
        auto window = makeWindow();
        const QString document = copyExample(m_dir->filePath("cam.lumex"));
        QVERIFY(window->openFile(document));
        QVERIFY(window->cameraTreeModel()->setData(window->cameraTreeModel()->modeIndex(0), "Normal"));
        for (QMessageBox::StandardButton answer : answers)
            DialogSeam::queueAnswer(answer);
        QTimer chooserCloser;
        int choosers = 0;
        connect(&chooserCloser, &QTimer::timeout, [&choosers] {
            auto* chooser = qobject_cast<QNBrdModeOpenDialog*>(QApplication::activeModalWidget());
            choosers += chooser && chooser->close();
        });
        chooserCloser.start(0);

        window->openPreview();
        const QStringList questions{"Save Camera Configuration?", "\"Default\" Mode Missing"};
        QCOMPARE(messages(true), questions.mid(0, answers.size()));
        QCOMPARE(window->isDocumentModified(), !saved);
        QCOMPARE(choosers, int(saved));
        QCOMPARE(diskState(document).contains("<mode name=\"Normal\""), saved);
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

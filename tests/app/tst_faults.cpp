#include "BoardFixtures.h"
#include "FileFixtures.h"
#include "TestSupport.h"
#include "WindowFixtures.h"
#include "app/Window.h"
#include "board/QNBrdDataSource.h"
#include "elements/CameraElement.h"
#include "elements/ModeElement.h"
#include "elements/WindowElement.h"
#include "widgets/DialogSeam.h"

#include <QAction>
#include <QDir>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

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

namespace {

// A folder no one may create files in, or a file no one may change; false when this system cannot make one.
// Permission bits do not bind root, so root gets the immutable attribute instead.
bool lockPath(const QString& a_path, bool a_locked)
{
    if (geteuid() != 0) {
        return QFile::setPermissions(a_path, QFile::ReadOwner | QFile::ExeOwner |
                                                 (a_locked ? QFile::Permissions() : QFile::WriteOwner));
    }
    int flags = 0;
    bool done = false;
#ifdef Q_OS_LINUX
    const int fd = ::open(QFile::encodeName(a_path).constData(), O_RDONLY);
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

    void saveFaults_data() { addTableRows("tests/app/data/save-faults.txt", {"fault", "says"}); }

    // A failed save leaves every file as it was and the document modified, and a later Save As works.
    void saveFaults()
    {
        const QString fault = field("fault");
        auto window = makeWindow();
        const QString folder = m_dir->filePath("doc");
        const QString document = copyExample(QDir(folder).filePath("cam.lumex"));
        if (fault.endsWith("one line"))
            QVERIFY(writeFile(document, QString::fromUtf8(fileBytes(document))
                                            .replace(QRegularExpression(QStringLiteral(">\\s+<")), "><")
                                            .toUtf8()));
        QVERIFY(window->openFile(document));
        QVERIFY(moveSecondModeUp(*window));
        const QByteArray original = diskState(document);

        QString target = document;
        const QString locked = fault == "read-only"        ? folder
                               : fault == "file read-only" ? document
                                                           : QString();
        if (!locked.isEmpty() && !lockPath(locked, true))
            QSKIP("As root, on a file system without the immutable attribute, nothing is read-only.");
        if (fault == "target a folder")
            QVERIFY(QDir().mkpath(target = QDir(folder).filePath("other.lumex")));
        if (fault == "folder a file") {
            QVERIFY(writeFile(QDir(folder).filePath("notes"), "plain text\n"));
            target = QDir(folder).filePath("notes/other.lumex");
        }
        if (fault == "folder gone")
            target = QDir(folder).filePath("gone/other.lumex");
        std::unique_ptr<FileSizeLimit> sizeLimit;
        if (fault.startsWith("disk full")) {
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
        const bool unlocked = locked.isEmpty() || lockPath(locked, false);
        QVERIFY2(!saved && unlocked,
                 qPrintable(QString("%1 %2").arg(saved).arg(unlocked) + messages().join("|")));
        QCOMPARE(messages(true), QStringList{"File Save Error"});
        const QString says =
            QString::fromUtf8(field("says")).replace("{folder}", QDir::toNativeSeparators(folder));
        QVERIFY2(DialogSeam::log().last().m_text.contains(QDir::toNativeSeparators(target).toHtmlEscaped()) &&
                     DialogSeam::log().last().m_text.contains(says.toHtmlEscaped()),
                 qPrintable(DialogSeam::log().last().m_text + DialogSeam::log().last().m_details));
        QVERIFY(
            DialogSeam::log().last().m_details.startsWith("An error occured saving the camera file.\n\n"));
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

    void boardGoneBeforeOpen_data()
    {
        addTableRows("tests/app/data/board-gone.txt", {"fileOfItsKindOpen", "boardsAtOpen"});
    }

    // The file attached to a board opens, on no board, when the board is gone by then.
    void boardGoneBeforeOpen()
    {
        const QString config = m_dir->filePath("config");
        const QString attached = copyExample(QDir(config).filePath("Vrm/cam.lumex"));
        const QString boards = m_dir->filePath("boards.json");
        QVERIFY(loadSimBoards(boards, R"({"boards": [{"kind": "CameraLink", "mk2": true, "model": "Sim CL",
                                                  "registry": {"QNCamList": ["Fast@cam.lumex"]}}]})"));
        auto window = makeWindow(config);
        if (field("fileOfItsKindOpen") == "1")
            QVERIFY(window->openFile(copyExample(m_dir->filePath("other.lumex"))));
        QCOMPARE(window->boardDataSource()->count(), 2);
        QAction* entry = windowAction(*window, "Fast@cam.lumex");
        QVERIFY(entry);

        QVERIFY(loadSimBoards(boards, field("boardsAtOpen")));
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

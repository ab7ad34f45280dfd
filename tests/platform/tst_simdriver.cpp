#include "FileFixtures.h"
#include "TestSupport.h"
#include "platform/QNDriver.h"
#include "platform/QNExceptionBase.h"

#include <QDir>
#include <QFile>
#include <QObject>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

#include <algorithm>
#include <cstring>
#include <thread>

namespace {

// Every message since the script last read them, so that it sees exactly the lines a load printed.
QStringList g_messages;

void record(QtMsgType, const QMessageLogContext&, const QString& a_text)
{
    g_messages << a_text;
}

QByteArray machine()
{
    return OrvexTest::fileBytes(
        OrvexTest::sourcePath(QStringLiteral("tests/platform/data/simboards/machine.json")));
}

unsigned boardCount()
{
    HwBrdEntry entry;
    unsigned count = 0;
    while (HwSysBrdFind(HwSelectorFrameGrabber, count, &entry) == 0)
        ++count;
    return count;
}

HwBrdHandle openBoard(unsigned a_index)
{
    HwBrdEntry entry;
    HwBrdHandle handle = HwNoBoard;
    if (HwSysBrdFind(HwSelectorFrameGrabber, a_index, &entry) != 0 ||
        HwBrdOpen(&entry, &handle, HwOpenDataSource) != 0)
        return HwNoBoard;
    return handle;
}

} // namespace

class TestSimDriver : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;

    void loadMachine(const QByteArray& a_json)
    {
        OrvexTest::writtenFile(m_dir.filePath(QStringLiteral("SimBoards.json")), a_json);
        QNSimReset();
        QNSimSetConfigDir(QFile::encodeName(m_dir.path()).constData());
    }

    QMap<QString, HwBrdHandle> m_handles;
    QMap<QString, HwBrdEntry> m_entries;

    HwBrdHandle handle(const QString& a_name) const
    {
        return a_name == QLatin1String("far") ? HwBrdHandle(1000000) : m_handles.value(a_name, HwNoBoard);
    }

    // One call of a script with its arguments a_words; status results read "ok" or "fail".
    QString run(const QStringList& a_words, const QString& a_rest)
    {
        const QString& call = a_words[0];
        const HwBrdHandle board = handle(a_words.value(1));
        const auto status = [](int a_status) { return QLatin1String(a_status == 0 ? "ok" : "fail"); };
        const auto number = [&a_words](int a_index) { return a_words.value(a_index).toUInt(nullptr, 0); };
        const QString where = m_dir.filePath(a_words.value(1));
        if (call == "machine") {
            QString json = a_words.size() < 2 ? QString::fromUtf8(machine()) : a_words.mid(1).join(' ');
            const QRegularExpression repeated(QStringLiteral("\"(.)\\*(\\d+)\""));
            for (QRegularExpressionMatch match; (match = repeated.match(json)).hasMatch();)
                json.replace(match.capturedStart(), match.capturedLength(),
                             '"' + QString(match.captured(2).toInt(), match.captured(1)[0]) + '"');
            loadMachine(json.toUtf8());
        } else if (call == "write") {
            OrvexTest::writtenFile(where, QString(a_rest).replace("\\n", "\n").toUtf8());
        } else if (call == "env") {
            a_words.size() > 1 ? qputenv("QN_SIM_BOARDS", QFile::encodeName(where))
                               : qunsetenv("QN_SIM_BOARDS");
        } else if (call == "configdir") {
            const QString dir = a_words[1] == "shipped" ? OrvexTest::sourcePath(QStringLiteral("config"))
                                : a_words[1] == "other" ? where
                                                        : m_dir.path();
            QNSimSetConfigDir(QFile::encodeName(dir).constData());
        } else if (call == "reload" || call == "reset") {
            call == "reload" ? QNSimReload() : QNSimReset();
        } else if (call == "count") {
            return QString::number(boardCount());
        } else if (call == "find") {
            HwBrdEntry entry;
            return status(HwSysBrdFind(number(1), number(2), a_words.size() > 3 ? nullptr : &entry));
        } else if (call == "open") {
            m_handles[a_words[2]] = openBoard(number(1));
            return QLatin1String(m_handles[a_words[2]] == HwNoBoard ? "none" : "ok");
        } else if (call == "entry") {
            return status(HwSysBrdFind(HwSelectorFrameGrabber, number(1), &m_entries[a_words[2]]));
        } else if (call == "openentry") {
            HwBrdHandle opened = HwNoBoard;
            return status(HwBrdOpen(&m_entries[a_words[1]], &opened, HwOpenAttachedFileScan));
        } else if (call == "same") {
            return QString::number(board == handle(a_words[2]));
        } else if (call == "close") {
            return status(HwBrdClose(board));
        } else if (call == "kind") {
            const bool cl = QNIsCL(board);
            const bool cxp = QNIsCXP(board);
            return QLatin1String(cl ? (cxp ? "both" : "CL") : (cxp ? "CXP" : "none")) +
                   QLatin1String(QNIsMk2(board) ? " Mk2" : "");
        } else if (call == "strings") {
            char model[QNStringBufferSize];
            char variant[QNStringBufferSize];
            std::uint32_t serial = 0xFFFF;
            std::uint32_t firmware = 0xFFFF;
            const int result = QNGetBoardStrings(board, model, variant, &serial, &firmware);
            return result != 0 ? status(result)
                               : QStringLiteral("%1/%2 %3.%4").arg(model, variant).arg(serial).arg(firmware);
        } else if (call == "supported") {
            return QString::number(QNRegSupported(board, number(2)) != 0);
        } else if (call == "name") {
            char name[QNStringBufferSize] = "unchanged";
            const int result = QNRegName(board, number(2), name);
            return result == 0 ? QString::fromUtf8(name) : status(result) + QLatin1String(name + 9);
        } else if (call == "peek") {
            return QString::number(QNRegPeek(board, number(2)));
        } else if (call == "poke") {
            return status(QNRegPoke(board, number(2), number(3)));
        } else if (call == "cxpread") {
            std::uint32_t value = 0xDEADBEEF;
            const int result = QNCXPReadReg(board, number(2), &value);
            return result == 0 ? QString::number(value)
                               : status(result) + (value == 0xDEADBEEF ? "" : " changed");
        } else if (call == "cxpwrite") {
            return status(QNCXPWriteReg(board, number(2), number(3)));
        } else if (call == "camlist") {
            // Entries shown up to the empty one that ends the list; "x*N": N times "x".
            char buffer[QNCamListBufferSize + 16];
            std::memset(buffer, 0x7f, sizeof buffer);
            const int result = QNRegistryBoardGetMultiString(board, a_words[2].toUtf8().constData(), buffer,
                                                             QNCamListBufferSize);
            QStringList entries{status(result)};
            for (const char* entry = buffer;
                 entries.last().size() > 0 && entry < buffer + QNCamListBufferSize;) {
                const QString text =
                    QString::fromUtf8(entry, int(strnlen(entry, buffer + sizeof buffer - entry)));
                entries << (text.size() > 40 ? text.left(1) + "*" + QString::number(text.size()) : text);
                entry += text.toUtf8().size() + 1;
            }
            const bool overrun = !std::all_of(buffer + QNCamListBufferSize, buffer + sizeof buffer,
                                              [](char a_byte) { return a_byte == 0x7f; });
            return entries.join(';') + (overrun ? " overrun" : "");
        } else if (call == "raise") {
            return status(
                QNSimRaiseInterrupt(board, QNInterruptKind(number(2)), a_words.size() > 3 ? number(3) : -1));
        } else if (call == "counters") {
            QNInterruptCounters counters;
            const int result = QNInterruptGetCounters(board, &counters);
            return result != 0 ? status(result)
                               : QStringLiteral("%1 %2 %3 %4 %5 %6")
                                     .arg(counters.m_frames)
                                     .arg(counters.m_lastFrameTimeUs)
                                     .arg(counters.m_previousFrameTimeUs)
                                     .arg(counters.m_framesDropped)
                                     .arg(counters.m_triggers)
                                     .arg(counters.m_errors);
        } else if (call == "clear") {
            return status(QNInterruptClearCounters(board));
        } else if (call == "messages") {
            const QString messages = g_messages.join(';').replace(m_dir.path(), "<dir>");
            g_messages.clear();
            return messages;
        } else {
            return QStringLiteral("unknown call");
        }
        return QString();
    }

private slots:
    void init()
    {
        qunsetenv("QN_SIM_BOARDS");
        QNSimReset();
        QVERIFY(m_dir.isValid());
        QFile::remove(m_dir.filePath(QStringLiteral("SimBoards.json")));
        g_messages.clear();
        qInstallMessageHandler(record);
    }
    void cleanup() { qInstallMessageHandler(nullptr); }

    void script_data()
    {
        QTest::addColumn<QString>("path");
        const QDir scripts(OrvexTest::sourcePath(QStringLiteral("tests/platform/data/simdriver")));
        for (const QString& name : scripts.entryList({"*.txt"}, QDir::Files))
            QTest::newRow(qPrintable(name)) << scripts.filePath(name);
    }

    // One driver call a line, "call arguments = result" (see run()); each result is compared. "write"
    // reads \n as a line break; "messages" shows the scratch folder as "<dir>".
    void script()
    {
        QFETCH(QString, path);
        QVERIFY(QDir(m_dir.path()).mkpath(QStringLiteral("other")));
        int number = 0;
        for (const QString& line : QString::fromUtf8(OrvexTest::fileBytes(path)).split('\n')) {
            ++number;
            if (line.trimmed().isEmpty() || line.startsWith('#'))
                continue;
            const QString call = line.section(QStringLiteral(" = "), 0, 0).trimmed();
            const QString result = run(call.split(' '), call.section(' ', 2));
            if (line.contains(QLatin1String(" =")))
                QVERIFY2(result == line.section(QLatin1String(" ="), 1).trimmed(),
                         qPrintable(QStringLiteral("line %1: %2 gave \"%3\"").arg(number).arg(call, result)));
        }
    }

    // Counting is safe from several threads.
    void concurrentInterrupts()
    {
        loadMachine(machine());
        const HwBrdHandle board = openBoard(1);
        auto raise = [board] {
            for (int i = 0; i < 5000; ++i)
                QNSimRaiseInterrupt(board, QNInterruptEndOfFrame);
        };
        std::thread worker(raise);
        raise();
        worker.join();
        QNInterruptCounters counters;
        QCOMPARE(QNInterruptGetCounters(openBoard(1), &counters), 0);
        QCOMPARE(counters.m_frames, 10000u);
        QVERIFY(counters.m_lastFrameTimeUs >= counters.m_previousFrameTimeUs &&
                counters.m_previousFrameTimeUs > 0);
    }

    void exceptions()
    {
        QNExceptionBase::throwOnFailure(QNStatusOk, "HwBrdOpen");
        QByteArray what;
        try {
            QNExceptionBase::throwOnFailure(QNStatusBadHandle, "HwBrdClose");
        } catch (const QNExceptionBase& a_error) {
            what = QByteArray::number(a_error.code()) + ' ' + a_error.what();
        }
        QVERIFY2(what.startsWith(QByteArray::number(QNStatusBadHandle) + " HwBrdClose failed: "),
                 what.constData());
        QNDebugString("Caught an unknown exception.\n");
        QCOMPARE(g_messages, QStringList{"Caught an unknown exception."});
    }
};

QTEST_GUILESS_MAIN(TestSimDriver)
#include "tst_simdriver.moc"

#include "platform/SimBoardMachine.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace QNSim {

SimBoardMachine& SimBoardMachine::instance()
{
    static SimBoardMachine machine;
    return machine;
}

void SimBoardMachine::setConfigDir(const QString& a_configDir)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    if (m_loaded && a_configDir == m_configDir)
        return;
    m_configDir = a_configDir;
    loadLocked();
}

void SimBoardMachine::reload()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    loadLocked();
}

void SimBoardMachine::reset()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_configDir.clear();
    m_loaded = false;
    m_boards.clear();
    m_open.clear();
}

int SimBoardMachine::find(unsigned a_index, HwBrdEntry* a_entry)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    if (!m_loaded)
        loadLocked();
    if (a_index >= m_boards.size())
        return QNStatusNoSuchBoard;
    a_entry->m_index = a_index;
    a_entry->m_machineLoad = m_load;
    return QNStatusOk;
}

unsigned SimBoardMachine::count()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    if (!m_loaded)
        loadLocked();
    return static_cast<unsigned>(m_boards.size());
}

int SimBoardMachine::open(const HwBrdEntry& a_entry, HwBrdHandle* a_handle)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    if (!m_loaded || a_entry.m_machineLoad != m_load || a_entry.m_index >= m_boards.size())
        return QNStatusNoSuchBoard;
    *a_handle = ++m_lastHandle;
    m_open.emplace(*a_handle, a_entry.m_index);
    return QNStatusOk;
}

int SimBoardMachine::close(HwBrdHandle a_handle)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_open.erase(a_handle) ? QNStatusOk : QNStatusBadHandle;
}

bool SimBoardMachine::parse(const QByteArray& a_json, std::vector<SimBoard>* a_boards, QString* a_error)
{
    QJsonParseError parseError;
    const QJsonDocument document = QJsonDocument::fromJson(a_json, &parseError);
    if (parseError.error != QJsonParseError::NoError) {
        const int offset = std::min(parseError.offset, a_json.size());
        const int line = a_json.left(offset).count('\n') + 1;
        const int column = offset - (offset > 0 ? a_json.lastIndexOf('\n', offset - 1) + 1 : 0) + 1;
        *a_error =
            QStringLiteral("line %1, column %2: %3").arg(line).arg(column).arg(parseError.errorString());
        return false;
    }
    if (!document.isObject()) {
        *a_error = QStringLiteral("the top level is not an object");
        return false;
    }
    const QJsonObject top = document.object();
    for (auto it = top.begin(); it != top.end(); ++it) {
        if (it.key() != QLatin1String("boards")) {
            *a_error = QStringLiteral("%1: unknown member").arg(it.key());
            return false;
        }
    }
    const QJsonValue boards = top.value(QLatin1String("boards"));
    if (!boards.isArray()) {
        *a_error =
            boards.isUndefined() ? QStringLiteral("boards: missing") : QStringLiteral("boards: not a list");
        return false;
    }
    const QJsonArray list = boards.toArray();
    a_boards->clear();
    for (int i = 0; i < list.size(); ++i) {
        const QString where = QStringLiteral("boards[%1]").arg(i);
        if (!list.at(i).isObject()) {
            *a_error = where + QLatin1String(": not an object");
            return false;
        }
        QString boardError;
        std::optional<SimBoard> board = SimBoard::fromJson(list.at(i).toObject(), &boardError);
        if (!board) {
            *a_error = where + QLatin1Char('.') + boardError;
            return false;
        }
        a_boards->push_back(std::move(*board));
    }
    return true;
}

QString SimBoardMachine::descriptionPath() const
{
    const QString fromEnvironment = qEnvironmentVariable("QN_SIM_BOARDS");
    if (!fromEnvironment.isEmpty())
        return fromEnvironment;
    if (m_configDir.isEmpty())
        return QString();
    return QDir(m_configDir).filePath(QStringLiteral("SimBoards.json"));
}

// Every load starts a new generation, so entries and handles from before it no longer reach a board.
void SimBoardMachine::loadLocked()
{
    ++m_load;
    m_loaded = true;
    m_boards.clear();
    m_open.clear();

    const QString path = descriptionPath();
    if (path.isEmpty())
        return;
    QString error;
    QFile file(path);
    if (!file.exists()) {
        error = QStringLiteral("no such file");
    } else if (!file.open(QIODevice::ReadOnly)) {
        error = file.errorString();
    } else {
        std::vector<SimBoard> boards;
        if (parse(file.readAll(), &boards, &error)) {
            m_boards = std::move(boards);
            return;
        }
    }
    QNDebugString(QStringLiteral("QNSim: no boards from \"%1\": %2")
                      .arg(QDir::toNativeSeparators(path), error)
                      .toUtf8()
                      .constData());
}

} // namespace QNSim

#pragma once

#include "platform/QNDriver.h"
#include "platform/SimBoard.h"

#include <QByteArray>
#include <QString>

#include <mutex>
#include <unordered_map>
#include <vector>

namespace QNSim {

// The simulated machine behind the driver calls: the boards of the machine description, in index
// order, and the handles open on them. One lock guards it all, so the calls may come from the GUI
// thread and from acquisition threads alike.
//
// The description is a JSON object {"boards": [ ... ]}; see SimBoard for a board's members. A file
// that cannot be read, is not JSON or describes any board wrongly yields no boards at all (rather
// than the good ones renumbered) and one debug line naming the file and the fault.
class SimBoardMachine
{
public:
    static SimBoardMachine& instance();

    // Reloads only when the folder differs from the one in use.
    void setConfigDir(const QString& a_configDir);
    void reload();
    void reset();

    int find(unsigned a_index, HwBrdEntry* a_entry);
    // How many boards the description holds (read first when it was not).
    unsigned count();
    int open(const HwBrdEntry& a_entry, HwBrdHandle* a_handle);
    int close(HwBrdHandle a_handle);

    // Runs a_function on the board that a_handle is open on, under the lock; a_failure for a handle
    // that is not open.
    template <typename Result, typename Function>
    Result withBoard(HwBrdHandle a_handle, Result a_failure, Function&& a_function)
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        const auto it = m_open.find(a_handle);
        return it == m_open.end() ? a_failure : a_function(m_boards[it->second]);
    }

    // The boards of a description; a_error names the fault when there is one.
    static bool parse(const QByteArray& a_json, std::vector<SimBoard>* a_boards, QString* a_error);

private:
    SimBoardMachine() = default;

    QString descriptionPath() const;
    void loadLocked();

    std::mutex m_mutex;
    QString m_configDir;
    bool m_loaded = false;
    std::uint64_t m_load = 0;
    std::vector<SimBoard> m_boards;
    std::unordered_map<HwBrdHandle, std::size_t> m_open;
    HwBrdHandle m_lastHandle = HwNoBoard;
};

} // namespace QNSim

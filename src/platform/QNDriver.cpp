#include "platform/QNDriver.h"

#include "platform/LogCategories.h"
#include "platform/SimBoardMachine.h"

#include <QDebug>
#include <QFile>

#include <chrono>
#include <cstring>

using QNSim::SimBoard;
using QNSim::SimBoardMachine;

namespace {

SimBoardMachine& machine()
{
    return SimBoardMachine::instance();
}

void copyText(const QByteArray& a_text, char* a_buffer)
{
    if (!a_buffer)
        return;
    // Texts were limited to the buffer size when the machine description was read.
    std::memcpy(a_buffer, a_text.constData(), static_cast<std::size_t>(a_text.size()));
    a_buffer[a_text.size()] = '\0';
}

std::int64_t nowUs()
{
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    return std::chrono::duration_cast<std::chrono::microseconds>(now).count() + 1;
}

} // namespace

int HwSysBrdFind(unsigned a_selector, unsigned a_index, HwBrdEntry* a_entry)
{
    if (!a_entry)
        return QNStatusBadArgument;
    if (a_selector != HwSelectorFrameGrabber)
        return QNStatusNoSuchBoard;
    return machine().find(a_index, a_entry);
}

int HwBrdOpen(const HwBrdEntry* a_entry, HwBrdHandle* a_handle, unsigned)
{
    if (!a_entry || !a_handle)
        return QNStatusBadArgument;
    return machine().open(*a_entry, a_handle);
}

int HwBrdClose(HwBrdHandle a_handle)
{
    return machine().close(a_handle);
}

int QNIsMk2(HwBrdHandle a_handle)
{
    return machine().withBoard(a_handle, 0, [](const SimBoard& a_board) { return a_board.isMk2() ? 1 : 0; });
}

int QNIsCL(HwBrdHandle a_handle)
{
    return machine().withBoard(a_handle, 0, [](const SimBoard& a_board) {
        return a_board.kind() == SimBoard::Kind::CameraLink ? 1 : 0;
    });
}

int QNIsCXP(HwBrdHandle a_handle)
{
    return machine().withBoard(a_handle, 0, [](const SimBoard& a_board) {
        return a_board.kind() == SimBoard::Kind::CoaXPress ? 1 : 0;
    });
}

int QNRegistryBoardGetMultiString(HwBrdHandle a_handle, const char* a_valueName, char* a_buffer,
                                  std::size_t a_bufferSize)
{
    if (!a_valueName || !a_buffer || a_bufferSize == 0)
        return QNStatusBadArgument;
    a_buffer[0] = '\0';
    return machine().withBoard(a_handle, int(QNStatusBadHandle), [&](const SimBoard& a_board) -> int {
        const QList<QByteArray>* list = a_board.registryValue(QString::fromUtf8(a_valueName));
        if (!list)
            return QNStatusNotFound;
        std::size_t needed = 1;
        for (const QByteArray& entry : *list)
            needed += static_cast<std::size_t>(entry.size()) + 1;
        if (needed > a_bufferSize)
            return QNStatusBufferTooSmall;
        char* out = a_buffer;
        for (const QByteArray& entry : *list) {
            std::memcpy(out, entry.constData(), static_cast<std::size_t>(entry.size()) + 1);
            out += entry.size() + 1;
        }
        *out = '\0';
        return QNStatusOk;
    });
}

int QNGetBoardStrings(HwBrdHandle a_handle, char* a_model, char* a_variant, std::uint32_t* a_serialNumber,
                      std::uint32_t* a_firmwareRevision)
{
    return machine().withBoard(a_handle, int(QNStatusBadHandle), [&](const SimBoard& a_board) -> int {
        copyText(a_board.model(), a_model);
        copyText(a_board.variant(), a_variant);
        if (a_serialNumber)
            *a_serialNumber = a_board.serialNumber();
        if (a_firmwareRevision)
            *a_firmwareRevision = a_board.firmwareRevision();
        return QNStatusOk;
    });
}

int QNRegSupported(HwBrdHandle a_handle, unsigned a_id)
{
    return machine().withBoard(a_handle, 0,
                               [&](const SimBoard& a_board) { return a_board.findRegister(a_id) ? 1 : 0; });
}

int QNRegName(HwBrdHandle a_handle, unsigned a_id, char* a_name)
{
    if (!a_name)
        return QNStatusBadArgument;
    return machine().withBoard(a_handle, int(QNStatusBadHandle), [&](const SimBoard& a_board) -> int {
        const SimBoard::Register* reg = a_board.findRegister(a_id);
        if (!reg)
            return QNStatusNotSupported;
        copyText(reg->m_name, a_name);
        return QNStatusOk;
    });
}

std::uint32_t QNRegPeek(HwBrdHandle a_handle, unsigned a_id)
{
    return machine().withBoard(a_handle, std::uint32_t(0), [&](const SimBoard& a_board) {
        const SimBoard::Register* reg = a_board.findRegister(a_id);
        return reg ? reg->m_value : std::uint32_t(0);
    });
}

int QNRegPoke(HwBrdHandle a_handle, unsigned a_id, std::uint32_t a_value)
{
    return machine().withBoard(a_handle, int(QNStatusBadHandle), [&](SimBoard& a_board) -> int {
        return a_board.writeRegister(a_id, a_value) ? QNStatusOk : QNStatusNotSupported;
    });
}

int QNCXPReadReg(HwBrdHandle a_handle, std::uint32_t a_address, std::uint32_t* a_value)
{
    if (!a_value)
        return QNStatusBadArgument;
    return machine().withBoard(a_handle, int(QNStatusBadHandle), [&](const SimBoard& a_board) -> int {
        if (a_board.kind() != SimBoard::Kind::CoaXPress)
            return QNStatusNotSupported;
        return a_board.readCameraRegister(a_address, a_value) ? QNStatusOk : QNStatusNotFound;
    });
}

int QNCXPWriteReg(HwBrdHandle a_handle, std::uint32_t a_address, std::uint32_t a_value)
{
    return machine().withBoard(a_handle, int(QNStatusBadHandle), [&](SimBoard& a_board) -> int {
        if (a_board.kind() != SimBoard::Kind::CoaXPress)
            return QNStatusNotSupported;
        return a_board.writeCameraRegister(a_address, a_value) ? QNStatusOk : QNStatusNotFound;
    });
}

int QNInterruptGetCounters(HwBrdHandle a_handle, QNInterruptCounters* a_counters)
{
    if (!a_counters)
        return QNStatusBadArgument;
    return machine().withBoard(a_handle, int(QNStatusBadHandle), [&](SimBoard& a_board) -> int {
        *a_counters = a_board.counters();
        return QNStatusOk;
    });
}

int QNInterruptClearCounters(HwBrdHandle a_handle)
{
    return machine().withBoard(a_handle, int(QNStatusBadHandle), [](SimBoard& a_board) -> int {
        a_board.counters() = QNInterruptCounters();
        return QNStatusOk;
    });
}

const char* QNDriverVersion()
{
    return "QND 1.0.0 (simulated boards)";
}

const char* QNStatusText(int a_status)
{
    switch (a_status) {
    case QNStatusOk:
        return "success";
    case QNStatusNoSuchBoard:
        return "no such board";
    case QNStatusBadHandle:
        return "the board handle is not open";
    case QNStatusBadArgument:
        return "invalid argument";
    case QNStatusNotSupported:
        return "not supported by the board";
    case QNStatusBufferTooSmall:
        return "the buffer is too small";
    case QNStatusNotFound:
        return "not found";
    default:
        return "unknown error";
    }
}

void QNDebugString(const char* a_text)
{
    QByteArray text(a_text ? a_text : "");
    if (text.endsWith('\n'))
        text.chop(1);
    qCDebug(orvexDriverLog).noquote() << QString::fromUtf8(text);
}

void QNSimSetConfigDir(const char* a_configDir)
{
    machine().setConfigDir(a_configDir ? QFile::decodeName(a_configDir) : QString());
}

void QNSimReload()
{
    machine().reload();
}

void QNSimReset()
{
    machine().reset();
}

int QNSimRaiseInterrupt(HwBrdHandle a_handle, QNInterruptKind a_kind, std::int64_t a_timeUs)
{
    const std::int64_t time = a_timeUs < 0 ? nowUs() : a_timeUs;
    return machine().withBoard(a_handle, int(QNStatusBadHandle), [&](SimBoard& a_board) -> int {
        QNInterruptCounters& counters = a_board.counters();
        switch (a_kind) {
        case QNInterruptEndOfFrame:
            ++counters.m_frames;
            counters.m_previousFrameTimeUs = counters.m_lastFrameTimeUs;
            counters.m_lastFrameTimeUs = time;
            return QNStatusOk;
        case QNInterruptFrameDropped:
            ++counters.m_framesDropped;
            return QNStatusOk;
        case QNInterruptTrigger:
            ++counters.m_triggers;
            return QNStatusOk;
        case QNInterruptError:
            ++counters.m_errors;
            return QNStatusOk;
        }
        return QNStatusBadArgument;
    });
}

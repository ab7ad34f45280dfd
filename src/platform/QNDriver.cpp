#include "platform/QNDriver.h"

#include "platform/CameraDriver.h"
#include "platform/CameraSettings.h"
#include "platform/LogCategories.h"
#include "platform/QNExceptionBase.h"
#include "platform/SimBoardMachine.h"

#include <QDebug>
#include <QFile>

#include <algorithm>
#include <chrono>
#include <cstring>

using QNCam::CameraDriver;
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

void copyString(const std::string& a_text, char* a_buffer)
{
    if (!a_buffer)
        return;
    const std::size_t length = std::min(a_text.size(), QNStringBufferSize - 1);
    std::memcpy(a_buffer, a_text.data(), length);
    a_buffer[length] = '\0';
}

bool isCamera(HwBrdHandle a_handle)
{
    return CameraDriver::isCameraHandle(a_handle);
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
    const int status = machine().find(a_index, a_entry);
    if (status != QNStatusNoSuchBoard)
        return status;
    const unsigned boards = machine().count();
    return a_index < boards ? status : CameraDriver::find(a_index - boards, a_index, a_entry);
}

int HwBrdOpen(const HwBrdEntry* a_entry, HwBrdHandle* a_handle, unsigned)
{
    if (!a_entry || !a_handle)
        return QNStatusBadArgument;
    if (CameraDriver::isCameraEntry(*a_entry))
        return CameraDriver::open(*a_entry, machine().count(), a_handle);
    return machine().open(*a_entry, a_handle);
}

int HwBrdClose(HwBrdHandle a_handle)
{
    if (isCamera(a_handle))
        return CameraDriver::close(a_handle);
    return machine().close(a_handle);
}

int QNIsMk2(HwBrdHandle a_handle)
{
    if (isCamera(a_handle))
        return 0;
    return machine().withBoard(a_handle, 0, [](const SimBoard& a_board) { return a_board.isMk2() ? 1 : 0; });
}

int QNIsCL(HwBrdHandle a_handle)
{
    if (isCamera(a_handle))
        return 0;
    return machine().withBoard(a_handle, 0, [](const SimBoard& a_board) {
        return a_board.kind() == SimBoard::Kind::CameraLink ? 1 : 0;
    });
}

int QNIsCXP(HwBrdHandle a_handle)
{
    if (isCamera(a_handle))
        return 0;
    return machine().withBoard(a_handle, 0, [](const SimBoard& a_board) {
        return a_board.kind() == SimBoard::Kind::CoaXPress ? 1 : 0;
    });
}

int QNIsCamera(HwBrdHandle a_handle)
{
    return isCamera(a_handle) && CameraDriver::isOpen(a_handle) ? 1 : 0;
}

int QNRegistryBoardGetMultiString(HwBrdHandle a_handle, const char* a_valueName, char* a_buffer,
                                  std::size_t a_bufferSize)
{
    if (!a_valueName || !a_buffer || a_bufferSize == 0)
        return QNStatusBadArgument;
    a_buffer[0] = '\0';
    // A camera has no camera files attached to it.
    if (isCamera(a_handle))
        return CameraDriver::isOpen(a_handle) ? int(QNStatusNotFound) : int(QNStatusBadHandle);
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
    if (isCamera(a_handle)) {
        std::string model;
        std::string serial;
        const int status = CameraDriver::strings(a_handle, &model, &serial);
        if (status != QNStatusOk)
            return status;
        copyString(model, a_model);
        copyString(serial, a_variant);
        if (a_serialNumber)
            *a_serialNumber = 0;
        if (a_firmwareRevision)
            *a_firmwareRevision = 0;
        return QNStatusOk;
    }
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
    if (isCamera(a_handle))
        return CameraDriver::readRegister(a_handle, a_address, a_value);
    return machine().withBoard(a_handle, int(QNStatusBadHandle), [&](const SimBoard& a_board) -> int {
        if (a_board.kind() != SimBoard::Kind::CoaXPress)
            return QNStatusNotSupported;
        return a_board.readCameraRegister(a_address, a_value) ? QNStatusOk : QNStatusNotFound;
    });
}

int QNCXPWriteReg(HwBrdHandle a_handle, std::uint32_t a_address, std::uint32_t a_value)
{
    if (isCamera(a_handle))
        return CameraDriver::writeRegister(a_handle, a_address, a_value);
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
    if (isCamera(a_handle))
        return CameraDriver::counters(a_handle, a_counters, false);
    return machine().withBoard(a_handle, int(QNStatusBadHandle), [&](SimBoard& a_board) -> int {
        *a_counters = a_board.counters();
        return QNStatusOk;
    });
}

int QNInterruptClearCounters(HwBrdHandle a_handle)
{
    if (isCamera(a_handle))
        return CameraDriver::counters(a_handle, nullptr, true);
    return machine().withBoard(a_handle, int(QNStatusBadHandle), [](SimBoard& a_board) -> int {
        a_board.counters() = QNInterruptCounters();
        return QNStatusOk;
    });
}

int QNCamGetFeature(HwBrdHandle a_handle, const char* a_name, char* a_value)
{
    if (!a_name || !a_value)
        return QNStatusBadArgument;
    if (!isCamera(a_handle))
        return machine().withBoard(a_handle, int(QNStatusBadHandle),
                                   [](const SimBoard&) -> int { return QNStatusNotSupported; });
    std::string value;
    const int status = CameraDriver::getFeature(a_handle, a_name, &value);
    if (status == QNStatusOk)
        copyString(value, a_value);
    return status;
}

int QNCamSetFeature(HwBrdHandle a_handle, const char* a_name, const char* a_value, char* a_result)
{
    if (!a_name || !a_value)
        return QNStatusBadArgument;
    if (!isCamera(a_handle))
        return machine().withBoard(a_handle, int(QNStatusBadHandle),
                                   [](const SimBoard&) -> int { return QNStatusNotSupported; });
    std::string result;
    const int status = CameraDriver::setFeature(a_handle, a_name, a_value, &result);
    copyString(result, a_result);
    return status;
}

int QNCamRegisterInfo(HwBrdHandle a_handle, unsigned a_index, char* a_name, std::uint64_t* a_address,
                      std::uint32_t* a_length)
{
    if (!a_name || !a_address || !a_length)
        return QNStatusBadArgument;
    if (!isCamera(a_handle))
        return machine().withBoard(a_handle, int(QNStatusBadHandle),
                                   [](const SimBoard&) -> int { return QNStatusNotSupported; });
    std::string name;
    const int status = CameraDriver::registerInfo(a_handle, a_index, &name, a_address, a_length);
    if (status == QNStatusOk)
        copyString(name, a_name);
    return status;
}

void QNCamSetInterfaces(const char* a_interfaces)
{
    CameraDriver::setInterfaces(a_interfaces);
}

void QNCamSearchInBackground(void (*a_listed)(void*), void* a_context)
{
    CameraDriver::searchInBackground(a_listed, a_context);
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
    case QNStatusClamped:
        return "the value was moved to the nearest one the camera takes";
    case QNStatusRefused:
        return "the camera refused the value";
    case QNStatusCameraLost:
        return "the camera stopped answering";
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
    try {
        BufferAcquisition::CameraSettings::setConfigDir(a_configDir ? a_configDir : "");
    } catch (const QNExceptionBase& a_error) {
        // As with a broken machine description: the fault goes to the debug output and the cameras
        // are reached by their features' own names.
        QNDebugString(a_error.what());
    }
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

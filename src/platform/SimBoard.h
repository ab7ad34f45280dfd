#pragma once

#include "platform/QNDriver.h"

#include <QByteArray>
#include <QJsonObject>
#include <QList>
#include <QString>

#include <cstdint>
#include <map>
#include <optional>
#include <utility>
#include <vector>

namespace QNSim {

// The state of one simulated board: what its description fixed (kind, strings, registry values) and
// what changes while it runs (register values, camera registers, interrupt counters).
//
// A board's description is a JSON object; only "kind" is required and unknown members are errors:
//   "kind": "CameraLink" or "CoaXPress"
//   "mk2": true for a board of the current generation (default false)
//   "model", "variant": texts of at most 255 UTF-8 bytes, "serial", "firmware": 32-bit numbers
//   "registry": {"QNCamList": ["Fast@cam.lumex", "cam.lumex"]}, multi-string values by name
//   "registers": {"TriggerMode": 0, "LineTimeout": {"id": 300, "value": 1000}}; registers without
//       an id take the lowest free ids in the code point order of their names
//   "cameraRegisters" (CoaXPress only): {"0x2000 DeviceVendorName": "Quarnel", "0x6000 Width": 2048};
//       a key is an address (decimal or 0x hexadecimal, a multiple of 4) and an optional label after a
//       space; a text fills consecutive big-endian words, zero-padded, ending in at least one zero byte.
class SimBoard
{
public:
    enum class Kind
    {
        CameraLink,
        CoaXPress
    };

    struct Register
    {
        QByteArray m_name;
        std::uint32_t m_value = 0;
    };

    // Builds a board from its description. On failure a_error names the offending member relative to
    // the board ("registers.TriggerMode: ...").
    static std::optional<SimBoard> fromJson(const QJsonObject& a_json, QString* a_error);

    Kind kind() const { return m_kind; }
    bool isMk2() const { return m_mk2; }
    const QByteArray& model() const { return m_model; }
    const QByteArray& variant() const { return m_variant; }
    std::uint32_t serialNumber() const { return m_serialNumber; }
    std::uint32_t firmwareRevision() const { return m_firmwareRevision; }

    // Registry value names compare without regard to case; null when the board has no such value.
    const QList<QByteArray>* registryValue(const QString& a_name) const;

    std::size_t registerCount() const { return m_registers.size(); }
    // Null for an id the board does not support.
    const Register* findRegister(unsigned a_id) const;
    bool writeRegister(unsigned a_id, std::uint32_t a_value);

    bool readCameraRegister(std::uint32_t a_address, std::uint32_t* a_value) const;
    bool writeCameraRegister(std::uint32_t a_address, std::uint32_t a_value);

    QNInterruptCounters& counters() { return m_counters; }

private:
    bool readRegisters(const QJsonObject& a_registers, QString* a_error);
    bool readCameraRegisters(const QJsonObject& a_registers, QString* a_error);
    bool readRegistry(const QJsonObject& a_values, QString* a_error);

    Kind m_kind = Kind::CameraLink;
    bool m_mk2 = false;
    QByteArray m_model;
    QByteArray m_variant;
    std::uint32_t m_serialNumber = 0;
    std::uint32_t m_firmwareRevision = 0;
    std::vector<std::pair<QString, QList<QByteArray>>> m_registry;
    std::map<unsigned, Register> m_registers;
    std::map<std::uint32_t, std::uint32_t> m_cameraRegisters;
    QNInterruptCounters m_counters;
};

} // namespace QNSim

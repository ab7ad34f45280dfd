#include "platform/SimBoard.h"

#include <QJsonArray>
#include <QJsonValue>

#include <algorithm>
#include <cmath>

namespace QNSim {

namespace {

constexpr const char* g_boardMembers[] = {"kind",     "mk2",      "model",     "variant",        "serial",
                                          "firmware", "registry", "registers", "cameraRegisters"};

bool fail(QString* a_error, const QString& a_where, const QString& a_problem)
{
    if (a_error)
        *a_error = a_where + QLatin1String(": ") + a_problem;
    return false;
}

// Member names that are not plain words are quoted, so that the path stays readable around
// spaces and dots inside keys such as "0x2000 DeviceVendorName".
QString member(const QString& a_parent, const QString& a_key)
{
    const bool plain = !a_key.isEmpty() && std::all_of(a_key.begin(), a_key.end(), [](QChar a_c) {
        return a_c.isLetterOrNumber() || a_c == QLatin1Char('_');
    });
    const QString key = plain ? a_key : QLatin1Char('"') + a_key + QLatin1Char('"');
    return a_parent.isEmpty() ? key : a_parent + QLatin1Char('.') + key;
}

bool toUInt32(const QJsonValue& a_value, std::uint32_t* a_out)
{
    if (!a_value.isDouble())
        return false;
    const double number = a_value.toDouble();
    if (!(number >= 0.0 && number <= 4294967295.0) || number != std::floor(number))
        return false;
    *a_out = static_cast<std::uint32_t>(number);
    return true;
}

const QString g_notUInt32 = QStringLiteral("not a whole number from 0 to 4294967295");

// Texts handed out in the driver's fixed buffers must fit with their terminator and must not hold a
// zero byte that would cut them short.
bool toFixedText(const QJsonValue& a_value, QByteArray* a_out, QString* a_problem)
{
    if (!a_value.isString()) {
        *a_problem = QStringLiteral("not a text");
        return false;
    }
    *a_out = a_value.toString().toUtf8();
    if (a_out->contains('\0')) {
        *a_problem = QStringLiteral("holds a zero character");
        return false;
    }
    if (static_cast<std::size_t>(a_out->size()) >= QNStringBufferSize) {
        *a_problem = QStringLiteral("longer than %1 bytes").arg(QNStringBufferSize - 1);
        return false;
    }
    return true;
}

bool parseAddress(const QString& a_key, std::uint32_t* a_address)
{
    const QString text = a_key.section(QLatin1Char(' '), 0, 0);
    const bool hex = text.startsWith(QLatin1String("0x"), Qt::CaseInsensitive);
    const QString digits = hex ? text.mid(2) : text;
    if (digits.isEmpty())
        return false;
    std::uint64_t value = 0;
    for (const QChar c : digits) {
        const char ch = c.unicode() < 128 ? c.toLatin1() : '\0';
        int digit = -1;
        if (ch >= '0' && ch <= '9')
            digit = ch - '0';
        else if (hex && ch >= 'a' && ch <= 'f')
            digit = ch - 'a' + 10;
        else if (hex && ch >= 'A' && ch <= 'F')
            digit = ch - 'A' + 10;
        if (digit < 0)
            return false;
        value = value * (hex ? 16 : 10) + static_cast<std::uint64_t>(digit);
        if (value > 0xFFFFFFFFu)
            return false;
    }
    *a_address = static_cast<std::uint32_t>(value);
    return true;
}

// A camera text register is laid out as the link carries it: big-endian words, zero-padded, with
// at least one zero byte so that a reader finds its end.
std::vector<std::uint32_t> textWords(const QByteArray& a_text)
{
    std::vector<std::uint32_t> words(static_cast<std::size_t>(a_text.size()) / 4 + 1, 0u);
    for (int i = 0; i < a_text.size(); ++i) {
        const std::uint32_t byte = static_cast<unsigned char>(a_text.at(i));
        words[static_cast<std::size_t>(i) / 4] |= byte << (8 * (3 - i % 4));
    }
    return words;
}

} // namespace

std::optional<SimBoard> SimBoard::fromJson(const QJsonObject& a_json, QString* a_error)
{
    for (auto it = a_json.begin(); it != a_json.end(); ++it) {
        const bool known = std::any_of(std::begin(g_boardMembers), std::end(g_boardMembers),
                                       [&](const char* a_name) { return it.key() == QLatin1String(a_name); });
        if (!known) {
            fail(a_error, member(QString(), it.key()), QStringLiteral("unknown member"));
            return std::nullopt;
        }
    }

    SimBoard board;
    const QJsonValue kind = a_json.value(QLatin1String("kind"));
    if (kind == QJsonValue(QLatin1String("CameraLink"))) {
        board.m_kind = Kind::CameraLink;
    } else if (kind == QJsonValue(QLatin1String("CoaXPress"))) {
        board.m_kind = Kind::CoaXPress;
    } else {
        fail(a_error, QStringLiteral("kind"), QStringLiteral("must be \"CameraLink\" or \"CoaXPress\""));
        return std::nullopt;
    }

    const QJsonValue mk2 = a_json.value(QLatin1String("mk2"));
    if (!mk2.isUndefined() && !mk2.isBool()) {
        fail(a_error, QStringLiteral("mk2"), QStringLiteral("not true or false"));
        return std::nullopt;
    }
    board.m_mk2 = mk2.toBool(false);

    const std::pair<const char*, QByteArray*> texts[] = {{"model", &board.m_model},
                                                         {"variant", &board.m_variant}};
    for (const auto& [name, target] : texts) {
        const QJsonValue value = a_json.value(QLatin1String(name));
        QString problem;
        if (!value.isUndefined() && !toFixedText(value, target, &problem)) {
            fail(a_error, QLatin1String(name), problem);
            return std::nullopt;
        }
    }

    const std::pair<const char*, std::uint32_t*> numbers[] = {{"serial", &board.m_serialNumber},
                                                              {"firmware", &board.m_firmwareRevision}};
    for (const auto& [name, target] : numbers) {
        const QJsonValue value = a_json.value(QLatin1String(name));
        if (!value.isUndefined() && !toUInt32(value, target)) {
            fail(a_error, QLatin1String(name), g_notUInt32);
            return std::nullopt;
        }
    }

    using Reader = bool (SimBoard::*)(const QJsonObject&, QString*);
    const std::pair<const char*, Reader> sections[] = {{"registry", &SimBoard::readRegistry},
                                                       {"registers", &SimBoard::readRegisters},
                                                       {"cameraRegisters", &SimBoard::readCameraRegisters}};
    for (const auto& [name, reader] : sections) {
        const QJsonValue value = a_json.value(QLatin1String(name));
        if (value.isUndefined())
            continue;
        if (!value.isObject()) {
            fail(a_error, QLatin1String(name), QStringLiteral("not an object"));
            return std::nullopt;
        }
        if (!(board.*reader)(value.toObject(), a_error))
            return std::nullopt;
    }
    return board;
}

bool SimBoard::readRegistry(const QJsonObject& a_values, QString* a_error)
{
    const QString where = QStringLiteral("registry");
    for (auto it = a_values.begin(); it != a_values.end(); ++it) {
        const QString valueWhere = member(where, it.key());
        if (it.key().isEmpty())
            return fail(a_error, valueWhere, QStringLiteral("empty value name"));
        if (registryValue(it.key()))
            return fail(a_error, valueWhere, QStringLiteral("a registry value of that name exists already"));
        if (!it.value().isArray())
            return fail(a_error, valueWhere, QStringLiteral("not a list of texts"));
        const QJsonArray entries = it.value().toArray();
        QList<QByteArray> list;
        for (int i = 0; i < entries.size(); ++i) {
            const QString entryWhere = valueWhere + QStringLiteral("[%1]").arg(i);
            if (!entries.at(i).isString())
                return fail(a_error, entryWhere, QStringLiteral("not a text"));
            const QByteArray entry = entries.at(i).toString().toUtf8();
            if (entry.isEmpty())
                return fail(a_error, entryWhere, QStringLiteral("an empty entry would end the list"));
            if (entry.contains('\0'))
                return fail(a_error, entryWhere, QStringLiteral("holds a zero character"));
            list << entry;
        }
        m_registry.emplace_back(it.key(), list);
    }
    return true;
}

// Registers with an explicit id take it; the others take the lowest free ids in the order of their
// names (code point order), so that a description always gives the same ids.
bool SimBoard::readRegisters(const QJsonObject& a_registers, QString* a_error)
{
    const QString where = QStringLiteral("registers");
    if (static_cast<unsigned>(a_registers.size()) > QNRegIdCount)
        return fail(a_error, where, QStringLiteral("more registers than the %1 ids").arg(QNRegIdCount));

    std::vector<Register> unplaced;
    for (auto it = a_registers.begin(); it != a_registers.end(); ++it) {
        const QString registerWhere = member(where, it.key());
        Register reg;
        reg.m_name = it.key().toUtf8();
        if (reg.m_name.isEmpty())
            return fail(a_error, registerWhere, QStringLiteral("empty register name"));
        if (reg.m_name.contains('\0'))
            return fail(a_error, registerWhere, QStringLiteral("the name holds a zero character"));
        if (static_cast<std::size_t>(reg.m_name.size()) >= QNStringBufferSize)
            return fail(a_error, registerWhere,
                        QStringLiteral("the name is longer than %1 bytes").arg(QNStringBufferSize - 1));
        if (!it.value().isObject()) {
            if (!toUInt32(it.value(), &reg.m_value))
                return fail(a_error, registerWhere, g_notUInt32);
            unplaced.push_back(reg);
            continue;
        }
        const QJsonObject placed = it.value().toObject();
        for (auto key = placed.begin(); key != placed.end(); ++key) {
            if (key.key() != QLatin1String("id") && key.key() != QLatin1String("value"))
                return fail(a_error, member(registerWhere, key.key()), QStringLiteral("unknown member"));
        }
        if (!toUInt32(placed.value(QLatin1String("value")), &reg.m_value))
            return fail(a_error, registerWhere + QLatin1String(".value"), g_notUInt32);
        const QJsonValue idValue = placed.value(QLatin1String("id"));
        if (idValue.isUndefined()) {
            unplaced.push_back(reg);
            continue;
        }
        std::uint32_t id = 0;
        if (!toUInt32(idValue, &id) || id >= QNRegIdCount)
            return fail(a_error, registerWhere + QLatin1String(".id"),
                        QStringLiteral("not a register id from 0 to %1").arg(QNRegIdCount - 1));
        const auto taken = m_registers.find(id);
        if (taken != m_registers.end())
            return fail(a_error, registerWhere + QLatin1String(".id"),
                        QStringLiteral("id %1 belongs to %2 already")
                            .arg(id)
                            .arg(QString::fromUtf8(taken->second.m_name)));
        m_registers.emplace(id, reg);
    }

    std::sort(unplaced.begin(), unplaced.end(),
              [](const Register& a_left, const Register& a_right) { return a_left.m_name < a_right.m_name; });
    unsigned next = 0;
    for (const Register& reg : unplaced) {
        while (m_registers.count(next))
            ++next;
        m_registers.emplace(next, reg);
    }
    return true;
}

bool SimBoard::readCameraRegisters(const QJsonObject& a_registers, QString* a_error)
{
    const QString where = QStringLiteral("cameraRegisters");
    if (m_kind != Kind::CoaXPress)
        return fail(a_error, where, QStringLiteral("only a CoaXPress board reaches camera registers"));
    for (auto it = a_registers.begin(); it != a_registers.end(); ++it) {
        const QString registerWhere = member(where, it.key());
        std::uint32_t address = 0;
        if (!parseAddress(it.key(), &address))
            return fail(a_error, registerWhere,
                        QStringLiteral("does not start with an address (decimal or 0x hexadecimal)"));
        if (address % 4 != 0)
            return fail(a_error, registerWhere, QStringLiteral("the address is not a multiple of 4"));

        std::vector<std::uint32_t> words(1, 0u);
        if (it.value().isString())
            words = textWords(it.value().toString().toUtf8());
        else if (!toUInt32(it.value(), &words.front()))
            return fail(a_error, registerWhere,
                        QStringLiteral("not a text or a whole number from 0 to 4294967295"));
        if (std::uint64_t(address) + 4 * (words.size() - 1) > 0xFFFFFFFCu)
            return fail(a_error, registerWhere, QStringLiteral("the text runs past the last address"));
        for (std::size_t i = 0; i < words.size(); ++i) {
            if (!m_cameraRegisters.emplace(address + static_cast<std::uint32_t>(4 * i), words[i]).second)
                return fail(a_error, registerWhere, QStringLiteral("overlaps another camera register"));
        }
    }
    return true;
}

const QList<QByteArray>* SimBoard::registryValue(const QString& a_name) const
{
    for (const auto& [name, list] : m_registry) {
        if (name.compare(a_name, Qt::CaseInsensitive) == 0)
            return &list;
    }
    return nullptr;
}

const SimBoard::Register* SimBoard::findRegister(unsigned a_id) const
{
    const auto it = m_registers.find(a_id);
    return it == m_registers.end() ? nullptr : &it->second;
}

bool SimBoard::writeRegister(unsigned a_id, std::uint32_t a_value)
{
    const auto it = m_registers.find(a_id);
    if (it == m_registers.end())
        return false;
    it->second.m_value = a_value;
    return true;
}

bool SimBoard::readCameraRegister(std::uint32_t a_address, std::uint32_t* a_value) const
{
    const auto it = m_cameraRegisters.find(a_address);
    if (it == m_cameraRegisters.end())
        return false;
    *a_value = it->second;
    return true;
}

bool SimBoard::writeCameraRegister(std::uint32_t a_address, std::uint32_t a_value)
{
    const auto it = m_cameraRegisters.find(a_address);
    if (it == m_cameraRegisters.end())
        return false;
    it->second = a_value;
    return true;
}

} // namespace QNSim

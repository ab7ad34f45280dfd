#include "platform/CameraNodes.h"

#include "platform/CameraBus.h"
#include "platform/QNDriver.h"

#include <arv.h>

#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace QNCam {

namespace {

// The in-process test camera answers from a fixed block of memory and does not check the addresses it
// is asked for; beyond the block it reads past its own data.
constexpr std::uint64_t FakeMemorySize = ARV_FAKE_CAMERA_MEMORY_SIZE;

ArvDevice* deviceOf(Camera& a_camera)
{
    return arv_camera_get_device(a_camera.m_camera);
}

// Takes the message of a failed call and frees the error; empty when there was none.
std::string takeError(GError** a_error)
{
    if (!*a_error)
        return {};
    std::string message = (*a_error)->message ? (*a_error)->message : "failed";
    g_clear_error(a_error);
    return message;
}

int refused(std::string* a_result, const std::string& a_reason)
{
    if (a_result)
        *a_result = a_reason;
    return QNStatusRefused;
}

bool parseInteger(const std::string& a_text, gint64* a_value)
{
    char* end = nullptr;
    errno = 0;
    const long long value = std::strtoll(a_text.c_str(), &end, 0);
    if (!a_text.empty() && !errno && !*end) {
        *a_value = value;
        return true;
    }
    // A whole number written as a decimal ("1024.0") is still that number.
    errno = 0;
    const double number = std::strtod(a_text.c_str(), &end);
    if (a_text.empty() || errno || *end || number != std::floor(number) || std::fabs(number) > 9.0e18)
        return false;
    *a_value = static_cast<gint64>(number);
    return true;
}

bool parseBoolean(const std::string& a_text, gboolean* a_value)
{
    for (const char* yes : {"1", "true", "True", "On", "on"}) {
        if (a_text == yes)
            return (*a_value = TRUE), true;
    }
    for (const char* no : {"0", "false", "False", "Off", "off"}) {
        if (a_text == no)
            return (*a_value = FALSE), true;
    }
    return false;
}

std::string numberText(double a_value)
{
    char text[64];
    std::snprintf(text, sizeof text, "%.10g", a_value);
    return text;
}

// Sets an integer feature, moved into its range and onto its increment first.
int setInteger(ArvGcInteger* a_node, const std::string& a_text, std::string* a_result)
{
    gint64 wanted = 0;
    if (!parseInteger(a_text, &wanted))
        return refused(a_result, "\"" + a_text + "\" is not a whole number");
    GError* error = nullptr;
    const gint64 minimum = arv_gc_integer_get_min(a_node, &error);
    const gint64 maximum = error ? 0 : arv_gc_integer_get_max(a_node, &error);
    const gint64 increment = error ? 1 : arv_gc_integer_get_inc(a_node, &error);
    if (error)
        return refused(a_result, takeError(&error));
    gint64 value = std::min(std::max(wanted, minimum), maximum);
    if (increment > 1)
        value = minimum + (value - minimum) / increment * increment;
    arv_gc_integer_set_value(a_node, value, &error);
    if (error)
        return refused(a_result, takeError(&error));
    if (a_result)
        *a_result = std::to_string(value);
    return value == wanted ? QNStatusOk : QNStatusClamped;
}

int setFloat(ArvGcFloat* a_node, const std::string& a_text, std::string* a_result)
{
    char* end = nullptr;
    const double wanted = std::strtod(a_text.c_str(), &end);
    if (a_text.empty() || *end || !std::isfinite(wanted))
        return refused(a_result, "\"" + a_text + "\" is not a number");
    GError* error = nullptr;
    const double minimum = arv_gc_float_get_min(a_node, &error);
    const double maximum = error ? 0.0 : arv_gc_float_get_max(a_node, &error);
    if (error)
        return refused(a_result, takeError(&error));
    const double value = std::min(std::max(wanted, minimum), maximum);
    arv_gc_float_set_value(a_node, value, &error);
    if (error)
        return refused(a_result, takeError(&error));
    if (a_result)
        *a_result = numberText(value);
    return value == wanted ? QNStatusOk : QNStatusClamped;
}

void collectRegisters(ArvDomNode* a_node, std::vector<Camera::NamedRegister>* a_registers)
{
    for (ArvDomNode* child = arv_dom_node_get_first_child(a_node); child;
         child = arv_dom_node_get_next_sibling(child)) {
        if (ARV_IS_GC_REGISTER_NODE(child)) {
            GError* error = nullptr;
            const guint64 address = arv_gc_register_get_address(ARV_GC_REGISTER(child), &error);
            const guint64 length = error ? 0 : arv_gc_register_get_length(ARV_GC_REGISTER(child), &error);
            const char* name = arv_gc_feature_node_get_name(ARV_GC_FEATURE_NODE(child));
            // A register whose address depends on a selector the camera cannot tell now is left out.
            if (!error && name)
                a_registers->push_back({name, address, static_cast<std::uint32_t>(length)});
            g_clear_error(&error);
        }
        collectRegisters(child, a_registers);
    }
}

bool addressInside(const Camera& a_camera, std::uint32_t a_address)
{
    if (a_address % 4 != 0)
        return false;
    return a_camera.m_protocol != "Fake" || std::uint64_t(a_address) + 4 <= FakeMemorySize;
}

} // namespace

int CameraNodes::getFeature(Camera& a_camera, const std::string& a_name, std::string* a_value)
{
    if (!a_camera.reach())
        return QNStatusCameraLost;
    ArvGcNode* node = arv_device_get_feature(deviceOf(a_camera), a_name.c_str());
    if (!node || !ARV_IS_GC_FEATURE_NODE(node) || ARV_IS_GC_CATEGORY(node) || ARV_IS_GC_COMMAND(node))
        return QNStatusNotFound;
    GError* error = nullptr;
    const char* value = arv_gc_feature_node_get_value_as_string(ARV_GC_FEATURE_NODE(node), &error);
    if (error) {
        g_clear_error(&error);
        return QNStatusNotSupported;
    }
    *a_value = value ? value : "";
    return QNStatusOk;
}

int CameraNodes::setFeature(Camera& a_camera, const std::string& a_name, const std::string& a_value,
                            std::string* a_result)
{
    if (!a_camera.reach())
        return QNStatusCameraLost;
    ArvGcNode* node = arv_device_get_feature(deviceOf(a_camera), a_name.c_str());
    if (!node || !ARV_IS_GC_FEATURE_NODE(node) || ARV_IS_GC_CATEGORY(node))
        return QNStatusNotFound;
    ArvGcFeatureNode* feature = ARV_GC_FEATURE_NODE(node);
    GError* error = nullptr;
    const bool available = arv_gc_feature_node_is_implemented(feature, &error) &&
                           arv_gc_feature_node_is_available(feature, &error);
    if (error)
        return refused(a_result, takeError(&error));
    if (!available)
        return refused(a_result, "not available in the camera's present state");
    if (arv_gc_feature_node_get_actual_access_mode(feature) == ARV_GC_ACCESS_MODE_RO)
        return refused(a_result, "read-only");
    if (arv_gc_feature_node_is_locked(feature, &error) || error) {
        const std::string reason = takeError(&error);
        return refused(a_result, reason.empty() ? "locked while the camera acquires" : reason);
    }

    int status = QNStatusOk;
    std::string taken;
    if (ARV_IS_GC_ENUMERATION(node)) {
        arv_gc_enumeration_set_string_value(ARV_GC_ENUMERATION(node), a_value.c_str(), &error);
    } else if (ARV_IS_GC_BOOLEAN(node)) {
        gboolean value = FALSE;
        if (!parseBoolean(a_value, &value))
            return refused(a_result, "\"" + a_value + "\" is neither true nor false");
        arv_gc_boolean_set_value(ARV_GC_BOOLEAN(node), value, &error);
    } else if (ARV_IS_GC_INTEGER(node)) {
        status = setInteger(ARV_GC_INTEGER(node), a_value, &taken);
    } else if (ARV_IS_GC_FLOAT(node)) {
        status = setFloat(ARV_GC_FLOAT(node), a_value, &taken);
    } else if (ARV_IS_GC_STRING(node)) {
        arv_gc_string_set_value(ARV_GC_STRING(node), a_value.c_str(), &error);
    } else {
        return refused(a_result, "takes no value");
    }
    if (error)
        return refused(a_result, takeError(&error));
    if (status == QNStatusRefused)
        return refused(a_result, taken);
    if (a_result)
        *a_result = taken.empty() ? a_value : taken;
    return status;
}

int CameraNodes::registerInfo(Camera& a_camera, unsigned a_index, std::string* a_name,
                              std::uint64_t* a_address, std::uint32_t* a_length)
{
    if (!a_camera.m_registersRead) {
        if (!a_camera.reach())
            return QNStatusCameraLost;
        ArvGc* genicam = arv_device_get_genicam(deviceOf(a_camera));
        if (genicam)
            collectRegisters(ARV_DOM_NODE(genicam), &a_camera.m_registers);
        a_camera.m_registersRead = true;
    }
    if (a_index >= a_camera.m_registers.size())
        return QNStatusNotFound;
    const Camera::NamedRegister& found = a_camera.m_registers[a_index];
    *a_name = found.m_name;
    *a_address = found.m_address;
    *a_length = found.m_length;
    return QNStatusOk;
}

int CameraNodes::readRegister(Camera& a_camera, std::uint32_t a_address, std::uint32_t* a_value)
{
    if (!a_camera.reach())
        return QNStatusCameraLost;
    if (!addressInside(a_camera, a_address))
        return QNStatusNotFound;
    GError* error = nullptr;
    guint32 value = 0;
    if (!arv_device_read_register(deviceOf(a_camera), a_address, &value, &error)) {
        g_clear_error(&error);
        return a_camera.m_lost ? QNStatusCameraLost : QNStatusNotFound;
    }
    *a_value = value;
    return QNStatusOk;
}

int CameraNodes::writeRegister(Camera& a_camera, std::uint32_t a_address, std::uint32_t a_value)
{
    if (!a_camera.reach())
        return QNStatusCameraLost;
    if (!addressInside(a_camera, a_address))
        return QNStatusNotFound;
    GError* error = nullptr;
    if (!arv_device_write_register(deviceOf(a_camera), a_address, a_value, &error)) {
        g_clear_error(&error);
        return a_camera.m_lost ? QNStatusCameraLost : QNStatusNotFound;
    }
    return QNStatusOk;
}

} // namespace QNCam

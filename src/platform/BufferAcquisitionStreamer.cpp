#include "platform/BufferAcquisitionStreamer.h"

#include "platform/CameraSettings.h"
#include "platform/FrameSource.h"
#include "platform/Lumex.h"
#include "platform/QNExceptionBase.h"
#include "platform/SimFrameGenerator.h"

#if ORVEX_WITH_ARAVIS
#include "platform/CameraFrameSource.h"
#endif

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <utility>

namespace BufferAcquisition {

namespace {

using QNSim::SimFrameGenerator;

// The board is opened the way the data source opens it, plus the acquisition bit.
constexpr unsigned OpenForAcquisition = HwOpenDataSource | 0x10;
// Features sit in categories of a mode; deeper elements (a region's Width) describe something else.
constexpr int ModeFeatureDepth = 2;

[[noreturn]] void fail(const char* a_call, const std::string& a_what, int a_status)
{
    char code[16];
    std::snprintf(code, sizeof code, "0x%X", static_cast<unsigned>(a_status));
    throw QNExceptionBase(std::string(a_call) + " failed: " + a_what + " (" + code + ")", a_status);
}

std::string trimmed(const char* a_text)
{
    const std::string text = a_text ? a_text : "";
    const std::size_t first = text.find_first_not_of(" \t\r\n");
    if (first == std::string::npos)
        return {};
    return text.substr(first, text.find_last_not_of(" \t\r\n") - first + 1);
}

bool isElement(const Lumex::ConstCamProperty& a_node)
{
    return !a_node.isNull() && !a_node.is(Lumex::CamProperty::CommentNode | Lumex::CamProperty::OtherNode |
                                          Lumex::CamProperty::TextNode);
}

bool hasChildElements(const Lumex::ConstCamProperty& a_node)
{
    for (auto it = a_node.begin(); it != a_node.end(); ++it) {
        if (isElement(*it))
            return true;
    }
    return false;
}

// Leaf elements by name, the first occurrence in document order winning.
void collectFeatures(const Lumex::ConstCamProperty& a_node, int a_depth,
                     std::map<std::string, std::string>* a_features)
{
    for (auto it = a_node.begin(); it != a_node.end(); ++it) {
        if (!isElement(*it))
            continue;
        if (!hasChildElements(*it))
            a_features->emplace(it->name(), trimmed(it->get()));
        else if (a_depth > 1)
            collectFeatures(*it, a_depth - 1, a_features);
    }
}

std::string firstComment(const Lumex::ConstCamProperty& a_node)
{
    for (auto it = a_node.begin(); it != a_node.end(); ++it) {
        if (it->is(Lumex::CamProperty::CommentNode))
            return trimmed(it->get());
    }
    return {};
}

unsigned parseUnsigned(const std::string& a_text)
{
    if (a_text.empty() || a_text[0] == '-')
        return 0;
    char* end = nullptr;
    errno = 0;
    const unsigned long value = std::strtoul(a_text.c_str(), &end, 0);
    if (errno || *end || value > 0xFFFFFFFFul)
        return 0;
    return static_cast<unsigned>(value);
}

double parseDouble(const std::string& a_text)
{
    char* end = nullptr;
    const double value = std::strtod(a_text.c_str(), &end);
    return a_text.empty() || *end ? 0.0 : value;
}

SimFrameGenerator::Settings settingsOf(const std::map<std::string, std::string>& a_features)
{
    const auto feature = [&](const char* a_name) {
        const auto it = a_features.find(a_name);
        return it == a_features.end() ? std::string() : it->second;
    };
    SimFrameGenerator::Settings settings;
    settings.m_width = parseUnsigned(feature("Width"));
    settings.m_height = parseUnsigned(feature("Height"));
    settings.m_pixelFormat = feature("PixelFormat");
    settings.m_colorFilter = feature("PixelColorFilter");
    settings.m_frameRate = parseDouble(feature("FrameRate"));
    settings.m_triggered = feature("TriggerMode") == "On";
    settings.m_triggerSource = feature("TriggerSource");
    settings.m_framesPerTrigger = parseUnsigned(feature("FramesPerTrigger"));
    return SimFrameGenerator::sanitized(settings);
}

std::string describe(const SimFrameGenerator::Settings& a_settings, const std::string& a_comment)
{
    char rate[32];
    std::snprintf(rate, sizeof rate, "%g", a_settings.m_frameRate);
    std::string text = std::to_string(a_settings.m_width) + "x" + std::to_string(a_settings.m_height) + " " +
                       a_settings.m_pixelFormat;
    if (!a_settings.m_triggered)
        text += std::string(", ") + rate + " fps";
    else if (a_settings.m_triggerSource == "Software")
        text += ", software trigger";
    else
        text += ", triggered by " + a_settings.m_triggerSource;
    return a_comment.empty() ? text : text + " - " + a_comment;
}

} // namespace

Streamer::Streamer() = default;

Streamer::~Streamer()
{
    close();
}

void Streamer::open(unsigned a_boardNumber, const std::string& a_cameraFile)
{
    CameraFile cameraFile = a_cameraFile.empty() ? CameraFile() : readCameraFile(a_cameraFile);
    std::unique_lock<std::mutex> lock(m_mutex);
    const bool reuse = m_handle != HwNoBoard && m_boardNumber == a_boardNumber &&
                       (QNIsCL(m_handle) || QNIsCXP(m_handle) || QNIsCamera(m_handle));
    if (!reuse) {
        lock.unlock();
        close();
        HwBrdEntry entry;
        QNExceptionBase::throwOnFailure(HwSysBrdFind(HwSelectorFrameGrabber, a_boardNumber, &entry),
                                        "HwSysBrdFind");
        HwBrdHandle handle = HwNoBoard;
        QNExceptionBase::throwOnFailure(HwBrdOpen(&entry, &handle, OpenForAcquisition), "HwBrdOpen");
        lock.lock();
        m_handle = handle;
        m_boardNumber = a_boardNumber;
        record("open " + std::to_string(a_boardNumber));
    }
    m_cameraFilePath = a_cameraFile;
    m_cameraFile = std::move(cameraFile);
    const bool keepMode = m_generator && currentModeLocked();
    if (!keepMode)
        m_mode = m_cameraFile.m_modes.empty() ? std::string() : m_cameraFile.m_modes.front().m_name;
}

void Streamer::close()
{
    releaseBuffers();
    std::lock_guard<std::mutex> lock(m_mutex);
    if (m_handle == HwNoBoard)
        return;
    HwBrdClose(m_handle);
    m_handle = HwNoBoard;
    record("close");
}

bool Streamer::isOpen() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_handle != HwNoBoard;
}

bool Streamer::isSetUp() const
{
    return generator() != nullptr;
}

unsigned Streamer::boardNumber() const
{
    return m_boardNumber;
}

HwBrdHandle Streamer::handle() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_handle;
}

std::string Streamer::cameraMode() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    requireOpenLocked("Streamer::cameraMode");
    return m_mode;
}

void Streamer::setCameraMode(const std::string& a_mode)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    requireOpenLocked("Streamer::setCameraMode");
    if (m_generator)
        fail("Streamer::setCameraMode", "the mode cannot change while buffers are set up",
             QNStatusNotSupported);
    const bool known = (a_mode.empty() && m_cameraFile.m_modes.empty()) ||
                       std::any_of(m_cameraFile.m_modes.begin(), m_cameraFile.m_modes.end(),
                                   [&](const Mode& a_known) { return a_known.m_name == a_mode; });
    if (!known)
        fail("Streamer::setCameraMode", "the camera file has no mode \"" + a_mode + "\"", QNStatusNotFound);
    m_mode = a_mode;
}

std::optional<std::string> Streamer::modeFeature(const std::string& a_name) const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return featureLocked(a_name);
}

std::vector<ModeDescription> Streamer::enumerateModes(const std::string& a_cameraFile)
{
    std::vector<ModeDescription> result;
    for (const Mode& mode : readCameraFile(a_cameraFile).m_modes)
        result.push_back({mode.m_name, mode.m_description});
    return result;
}

std::uint64_t Streamer::boardInfo(unsigned a_code) const
{
    const auto generator = requireGenerator("Streamer::boardInfo");
    switch (a_code) {
    case InfoBufferSize:
        return generator->bufferSize();
    case InfoImageWidth:
        return generator->width();
    case InfoImageHeight:
        return generator->height();
    default:
        break;
    }
    char code[16];
    std::snprintf(code, sizeof code, "0x%X", a_code);
    fail("Streamer::boardInfo", std::string("unknown information code ") + code, QNStatusBadArgument);
}

bool Streamer::testBoardProperty(unsigned a_property) const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    requireOpenLocked("Streamer::testBoardProperty");
    const SimFrameGenerator::Encoding encoding =
        SimFrameGenerator::encodingOf(featureLocked("PixelFormat").value_or(std::string()),
                                      featureLocked("PixelColorFilter").value_or(std::string()));
    // Once set up, the frames are what the board (or the camera) made of the mode.
    const unsigned channels = m_generator ? m_generator->channels() : encoding.m_channels;
    const unsigned bytesPerSample = m_generator ? m_generator->bytesPerSample() : encoding.m_bytesPerSample;
    switch (a_property) {
    case PropertyColor:
        return channels == 3;
    case PropertyWideSamples:
        return bytesPerSample == 2;
    default:
        return false;
    }
}

void Streamer::setupBuffers(unsigned a_count, unsigned a_overflow, unsigned a_lineAlignment)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    requireOpenLocked("Streamer::setupBuffers");
    if (m_generator)
        fail("Streamer::setupBuffers", "the buffers are set up already", QNStatusNotSupported);
    if (a_overflow != OverflowDropNewest && a_overflow != OverflowDropOldest)
        fail("Streamer::setupBuffers", "unknown overflow option " + std::to_string(a_overflow),
             QNStatusBadArgument);
    if (QNIsCamera(m_handle)) {
        m_generator = cameraSourceLocked(a_count, a_lineAlignment);
        record("setup " + std::to_string(a_count));
        return;
    }
    const Mode* mode = currentModeLocked();
    const SimFrameGenerator::Settings settings =
        settingsOf(mode ? mode->m_features : std::map<std::string, std::string>());
    const auto overflow = a_overflow == OverflowDropNewest ? SimFrameGenerator::Overflow::DropNewest
                                                           : SimFrameGenerator::Overflow::DropOldest;
    m_generator = std::make_shared<SimFrameGenerator>(m_handle, m_boardNumber, settings, a_count, overflow,
                                                      a_lineAlignment);
    record("setup " + std::to_string(a_count));
}

void Streamer::control(unsigned a_command, unsigned a_waitFlags, std::uint64_t a_frameCount)
{
    const auto generator = requireGenerator("Streamer::control");
    const bool wait = (a_waitFlags & (WaitForCompletion | WaitForFrameEnd)) != 0;
    std::string event = "control " + std::to_string(a_command) + "/" + std::to_string(a_waitFlags);
    switch (a_command) {
    case CommandStart:
        generator->start(0);
        break;
    case CommandStartFrames:
        if (a_frameCount == 0)
            fail("Streamer::control", "a run of no frames", QNStatusBadArgument);
        generator->start(a_frameCount);
        event += " " + std::to_string(a_frameCount);
        break;
    case CommandPause:
        generator->pause(wait);
        break;
    case CommandStop:
        generator->stop(wait);
        break;
    case CommandAbort:
        generator->abort(wait);
        break;
    default:
        fail("Streamer::control", "unknown command " + std::to_string(a_command), QNStatusBadArgument);
    }
    record(event);
}

int Streamer::waitForFrame(BufferRecord* a_record, int a_timeoutMs)
{
    const auto generator = this->generator();
    if (!generator)
        return ResultAborted;
    SimFrameGenerator::Frame frame;
    const int result = generator->waitForFrame(&frame, a_timeoutMs);
    if (result != ResultOk || !a_record)
        return result;
    a_record->m_memory = frame.m_memory;
    a_record->m_address = frame.m_memory->data();
    a_record->m_index = frame.m_index;
    a_record->m_width = generator->width();
    a_record->m_height = generator->height();
    a_record->m_stride = generator->stride();
    a_record->m_size = generator->bufferSize();
    return ResultOk;
}

void Streamer::freeBuffer(const BufferRecord& a_record)
{
    if (const auto generator = this->generator())
        generator->freeBuffer({a_record.m_memory, a_record.m_index});
}

bool Streamer::isCurrent(const BufferRecord& a_record) const
{
    const auto generator = this->generator();
    return generator && generator->owns({a_record.m_memory, a_record.m_index});
}

void Streamer::softwareTrigger(unsigned a_input)
{
    if (a_input != SoftwareTriggerInput)
        fail("Streamer::softwareTrigger", "no trigger input " + std::to_string(a_input), QNStatusBadArgument);
    const auto generator = requireGenerator("Streamer::softwareTrigger");
    record("trigger " + std::to_string(a_input));
    generator->trigger();
}

unsigned Streamer::queueSize() const
{
    const auto generator = this->generator();
    return generator ? generator->queued() : 0;
}

std::uint64_t Streamer::missedFrames() const
{
    const auto generator = this->generator();
    return generator ? generator->missed() : 0;
}

void Streamer::releaseBuffers()
{
    std::shared_ptr<FrameSource> generator;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        generator.swap(m_generator);
        if (generator)
            record("release");
    }
    // Waiting consumers hold their own reference; shutting down ends their waits.
    if (generator)
        generator->shutdown();
}

Streamer::CameraFile Streamer::readCameraFile(const std::string& a_path)
{
    const Lumex::CamFile file(a_path.c_str(), Lumex::CamFile::SourcePath);
    const Lumex::Error status = file.status();
    if (!status) {
        const char* message = status.message();
        fail("Streamer::readCameraFile",
             "cannot read the camera file \"" + a_path + "\": " + (message ? message : "unknown error"),
             QNStatusNotFound);
    }
    const Lumex::ConstCamProperty camera = file.root()["camera"];
    if (camera.isNull())
        fail("Streamer::readCameraFile", "the camera file \"" + a_path + "\" describes no camera",
             QNStatusBadArgument);
    CameraFile result;
    const Lumex::ConstCamProperty features = camera["features"];
    if (!features.isNull())
        collectFeatures(features, 1, &result.m_features);
    const Lumex::ConstCamProperty modes = camera["modes"];
    if (modes.isNull())
        return result;
    for (auto it = modes.begin("mode"); it != modes.end("mode"); ++it) {
        Mode mode;
        const char* name = nullptr;
        if (!it->get("name", name) || !name || !*name)
            fail("Streamer::readCameraFile", "a mode of \"" + a_path + "\" has no name", QNStatusBadArgument);
        mode.m_name = name;
        collectFeatures(*it, ModeFeatureDepth, &mode.m_features);
        mode.m_description = describe(settingsOf(mode.m_features), firstComment(*it));
        result.m_modes.push_back(std::move(mode));
    }
    return result;
}

std::shared_ptr<FrameSource> Streamer::generator() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_generator;
}

std::shared_ptr<FrameSource> Streamer::requireGenerator(const char* a_call) const
{
    auto generator = this->generator();
    if (!generator)
        fail(a_call, "the circular buffers are not set up", QNStatusNotSupported);
    return generator;
}

std::shared_ptr<FrameSource> Streamer::cameraSourceLocked(unsigned a_count, unsigned a_lineAlignment)
{
#if ORVEX_WITH_ARAVIS
    CameraSettings::Features features;
    if (const Mode* mode = currentModeLocked())
        features.assign(mode->m_features.begin(), mode->m_features.end());
    // A feature the camera refuses leaves the camera as it was there; the preview shows what it makes.
    for (const FeatureOutcome& outcome : CameraSettings::apply(m_handle, features)) {
        if (outcome.m_kind == FeatureOutcome::Kind::Refused ||
            outcome.m_kind == FeatureOutcome::Kind::Clamped)
            QNDebugString(
                ("Streamer: " + outcome.m_feature + " = " + outcome.m_requested + ": " + outcome.m_detail)
                    .c_str());
    }
    return std::make_shared<QNCam::CameraFrameSource>(m_handle, a_count, a_lineAlignment);
#else
    (void)a_count;
    (void)a_lineAlignment;
    fail("Streamer::setupBuffers", "this build reaches no cameras", QNStatusNotSupported);
#endif
}

void Streamer::requireOpenLocked(const char* a_call) const
{
    if (m_handle == HwNoBoard)
        fail(a_call, "no board is open", QNStatusBadHandle);
}

const Streamer::Mode* Streamer::currentModeLocked() const
{
    for (const Mode& mode : m_cameraFile.m_modes) {
        if (mode.m_name == m_mode)
            return &mode;
    }
    return nullptr;
}

std::optional<std::string> Streamer::featureLocked(const std::string& a_name) const
{
    if (const Mode* mode = currentModeLocked()) {
        const auto it = mode->m_features.find(a_name);
        if (it != mode->m_features.end())
            return it->second;
    }
    const auto it = m_cameraFile.m_features.find(a_name);
    if (it != m_cameraFile.m_features.end())
        return it->second;
    return std::nullopt;
}

void Streamer::record(const std::string& a_event) const
{
    SimFrameGenerator::recordEvent(m_boardNumber, a_event);
}

} // namespace BufferAcquisition

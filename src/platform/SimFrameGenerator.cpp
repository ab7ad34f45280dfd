#include "platform/SimFrameGenerator.h"

#include "platform/QNExceptionBase.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstring>
#include <limits>
#include <map>

namespace QNSim {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::uint64_t Unlimited = std::numeric_limits<std::uint64_t>::max();
constexpr std::size_t MaxEventsPerBoard = 256;

// The live generators and the test hooks, shared by every board. Lock order: this, then a
// generator's own mutex.
struct Registry
{
    std::mutex m_mutex;
    std::multimap<unsigned, SimFrameGenerator*> m_live;
    std::map<unsigned, std::vector<std::string>> m_events;
};

Registry& registry()
{
    static Registry instance;
    return instance;
}

struct Rgb
{
    unsigned m_r;
    unsigned m_g;
    unsigned m_b;
};

// A diagonal colour ramp under a checkerboard, with rings about the centre: every region differs
// from its neighbours, so both motion and colour mix-ups are easy to see.
Rgb patternColour(unsigned a_x, unsigned a_y, unsigned a_width, unsigned a_height)
{
    const unsigned u = a_x * 255 / std::max(1u, a_width - 1);
    const unsigned v = a_y * 255 / std::max(1u, a_height - 1);
    Rgb colour{u, v, 255 - (u + v) / 2};
    const unsigned square = std::max(4u, std::min(a_width, a_height) / 6);
    if (((a_x / square) + (a_y / square)) % 2)
        colour = {colour.m_r / 2, colour.m_g / 2, colour.m_b / 2};
    const double dx = double(a_x) - a_width / 2.0;
    const double dy = double(a_y) - a_height / 2.0;
    const double distance = std::sqrt(dx * dx + dy * dy);
    const double ring = std::max(2.0, std::min(a_width, a_height) / 16.0);
    if (distance < std::min(a_width, a_height) * 0.4 && static_cast<unsigned>(distance / ring) % 2 == 0)
        colour = {255 - colour.m_r, 255 - colour.m_g, 255 - colour.m_b};
    return colour;
}

// Which colour a Bayer sensor sees at a position: 0 red, 1 green, 2 blue.
unsigned bayerChannel(SimFrameGenerator::Bayer a_bayer, unsigned a_x, unsigned a_y)
{
    const unsigned cell = (a_y % 2) * 2 + a_x % 2;
    switch (a_bayer) {
    case SimFrameGenerator::Bayer::RG:
        return cell == 0 ? 0 : cell == 3 ? 2 : 1;
    case SimFrameGenerator::Bayer::GR:
        return cell == 1 ? 0 : cell == 2 ? 2 : 1;
    case SimFrameGenerator::Bayer::GB:
        return cell == 2 ? 0 : cell == 1 ? 2 : 1;
    case SimFrameGenerator::Bayer::BG:
        return cell == 3 ? 0 : cell == 0 ? 2 : 1;
    case SimFrameGenerator::Bayer::None:
        break;
    }
    return 1;
}

bool parseBits(const std::string& a_text, unsigned* a_bits)
{
    static const char* const known[] = {"8", "10", "12", "14", "16"};
    for (const char* bits : known) {
        if (a_text == bits) {
            *a_bits = static_cast<unsigned>(std::stoul(bits));
            return true;
        }
    }
    return false;
}

bool parseBayer(const std::string& a_text, SimFrameGenerator::Bayer* a_bayer)
{
    static const std::pair<const char*, SimFrameGenerator::Bayer> patterns[] = {
        {"BayerRG", SimFrameGenerator::Bayer::RG},
        {"BayerGR", SimFrameGenerator::Bayer::GR},
        {"BayerGB", SimFrameGenerator::Bayer::GB},
        {"BayerBG", SimFrameGenerator::Bayer::BG}};
    for (const auto& pattern : patterns) {
        if (a_text.compare(0, 7, pattern.first) == 0) {
            *a_bayer = pattern.second;
            return true;
        }
    }
    return false;
}

bool lookupFormat(const std::string& a_name, SimFrameGenerator::Encoding* a_encoding)
{
    SimFrameGenerator::Encoding encoding;
    unsigned bits = 8;
    if (a_name == "RGB8" || a_name == "RGB8Packed") {
        encoding.m_channels = 3;
    } else if (a_name.compare(0, 4, "Mono") == 0 && parseBits(a_name.substr(4), &bits)) {
        encoding.m_significantBits = bits;
    } else if (parseBayer(a_name, &encoding.m_bayer) && parseBits(a_name.substr(7), &bits)) {
        encoding.m_significantBits = bits;
    } else {
        return false;
    }
    encoding.m_bytesPerSample = encoding.m_significantBits > 8 ? 2 : 1;
    *a_encoding = encoding;
    return true;
}

[[noreturn]] void fail(const std::string& a_what, int a_status)
{
    throw QNExceptionBase("SimFrameGenerator failed: " + a_what, a_status);
}

} // namespace

SimFrameGenerator::SimFrameGenerator(HwBrdHandle a_board, unsigned a_boardNumber, const Settings& a_settings,
                                     unsigned a_bufferCount, Overflow a_overflow, unsigned a_lineAlignment)
    : m_board(a_board), m_boardNumber(a_boardNumber), m_settings(sanitized(a_settings)),
      m_encoding(encodingOf(m_settings.m_pixelFormat, m_settings.m_colorFilter)), m_overflow(a_overflow)
{
    if (a_bufferCount == 0)
        fail("at least one buffer is needed", QNStatusBadArgument);
    if (a_lineAlignment == 0 || a_lineAlignment > 4096 || (a_lineAlignment & (a_lineAlignment - 1)))
        fail("the line alignment " + std::to_string(a_lineAlignment) + " is not a power of two up to 4096",
             QNStatusBadArgument);
    const std::size_t rowBytes =
        std::size_t(m_settings.m_width) * m_encoding.m_bytesPerSample * m_encoding.m_channels;
    m_stride = static_cast<unsigned>((rowBytes + a_lineAlignment - 1) / a_lineAlignment * a_lineAlignment);
    m_bufferSize = std::size_t(m_stride) * m_settings.m_height;
    const std::size_t patternSize = rowBytes * 4 * m_settings.m_height;
    if (m_bufferSize > (MaxTotalBytes - patternSize) / a_bufferCount)
        fail(std::to_string(a_bufferCount) + " buffers of " + std::to_string(m_bufferSize) +
                 " bytes exceed the board's memory",
             QNStatusBadArgument);

    renderPattern();
    m_buffers.reserve(a_bufferCount);
    for (unsigned i = 0; i < a_bufferCount; ++i)
        m_buffers.push_back(std::make_shared<std::vector<std::uint8_t>>(m_bufferSize));
    m_bufferStates.assign(a_bufferCount, BufferState::Free);

    m_thread = std::thread(&SimFrameGenerator::run, this);
    std::lock_guard<std::mutex> lock(registry().m_mutex);
    registry().m_live.emplace(m_boardNumber, this);
}

SimFrameGenerator::~SimFrameGenerator()
{
    {
        std::lock_guard<std::mutex> lock(registry().m_mutex);
        auto& live = registry().m_live;
        for (auto it = live.lower_bound(m_boardNumber); it != live.upper_bound(m_boardNumber); ++it) {
            if (it->second == this) {
                live.erase(it);
                break;
            }
        }
    }
    shutdown();
}

SimFrameGenerator::Encoding SimFrameGenerator::encodingOf(const std::string& a_pixelFormat,
                                                          const std::string& a_colorFilter)
{
    Encoding encoding;
    if (!lookupFormat(a_pixelFormat, &encoding))
        lookupFormat("Mono8", &encoding);
    Bayer filter = Bayer::None;
    if (encoding.m_channels == 1 && parseBayer(a_colorFilter, &filter))
        encoding.m_bayer = filter;
    return encoding;
}

SimFrameGenerator::Settings SimFrameGenerator::sanitized(const Settings& a_settings)
{
    const Settings defaults;
    Settings result = a_settings;
    if (result.m_width == 0 || result.m_width > MaxDimension)
        result.m_width = defaults.m_width;
    if (result.m_height == 0 || result.m_height > MaxDimension)
        result.m_height = defaults.m_height;
    Encoding unused;
    if (!lookupFormat(result.m_pixelFormat, &unused))
        result.m_pixelFormat = defaults.m_pixelFormat;
    if (!std::isfinite(result.m_frameRate) || result.m_frameRate <= 0.0)
        result.m_frameRate = defaults.m_frameRate;
    result.m_frameRate = std::min(result.m_frameRate, 1000.0);
    result.m_framesPerTrigger = std::clamp(result.m_framesPerTrigger, 1u, 1000u);
    if (result.m_triggerSource.empty())
        result.m_triggerSource = defaults.m_triggerSource;
    return result;
}

void SimFrameGenerator::start(std::uint64_t a_frameCount)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    discardQueuedLocked();
    m_state = State::Running;
    m_remaining = a_frameCount ? a_frameCount : Unlimited;
    m_pendingTriggers = 0;
    m_abortPending = false;
    ++m_runs;
    ++m_commands;
    m_changed.notify_all();
}

void SimFrameGenerator::pause(bool a_waitForFrame)
{
    std::unique_lock<std::mutex> lock(m_mutex);
    if (m_state == State::Running)
        m_state = State::Paused;
    ++m_commands;
    m_changed.notify_all();
    if (a_waitForFrame)
        waitForRenderLocked(lock);
}

void SimFrameGenerator::stop(bool a_waitForFrame)
{
    std::unique_lock<std::mutex> lock(m_mutex);
    m_state = State::Idle;
    m_remaining = 0;
    m_pendingTriggers = 0;
    ++m_commands;
    m_changed.notify_all();
    if (a_waitForFrame)
        waitForRenderLocked(lock);
}

void SimFrameGenerator::abort(bool a_waitForFrame)
{
    std::unique_lock<std::mutex> lock(m_mutex);
    m_state = State::Idle;
    m_remaining = 0;
    m_pendingTriggers = 0;
    discardQueuedLocked();
    // A consumer between two waits would miss a wake-up, so the next wait reports the abort instead.
    if (m_waiters == 0)
        m_abortPending = true;
    ++m_aborts;
    ++m_commands;
    m_changed.notify_all();
    if (a_waitForFrame)
        waitForRenderLocked(lock);
}

void SimFrameGenerator::trigger()
{
    raise(QNInterruptTrigger);
    std::lock_guard<std::mutex> lock(m_mutex);
    if (m_state == State::Running && !freeRunning()) {
        m_pendingTriggers += m_settings.m_framesPerTrigger;
        m_changed.notify_all();
    }
}

void SimFrameGenerator::shutdown()
{
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_shutdown = true;
        m_changed.notify_all();
    }
    if (m_thread.joinable() && m_thread.get_id() != std::this_thread::get_id())
        m_thread.join();
}

int SimFrameGenerator::waitForFrame(Frame* a_frame, int a_timeoutMs)
{
    std::unique_lock<std::mutex> lock(m_mutex);
    if (m_injected.empty() && m_abortPending) {
        m_abortPending = false;
        return WaitAborted;
    }
    const std::uint64_t aborts = m_aborts;
    const auto woken = [&] {
        return m_shutdown || m_aborts != aborts || !m_injected.empty() || !m_ready.empty();
    };
    ++m_waiters;
    bool done = true;
    if (a_timeoutMs < 0)
        m_changed.wait(lock, woken);
    else
        done = m_changed.wait_for(lock, std::chrono::milliseconds(a_timeoutMs), woken);
    --m_waiters;
    if (!done)
        return WaitTimedOut;
    if (!m_injected.empty()) {
        const int code = m_injected.front();
        m_injected.pop_front();
        return code;
    }
    if (m_shutdown || m_aborts != aborts)
        return WaitAborted;
    const unsigned index = m_ready.front();
    m_ready.pop_front();
    m_bufferStates[index] = BufferState::Taken;
    if (a_frame) {
        a_frame->m_memory = m_buffers[index];
        a_frame->m_index = index;
    }
    return WaitOk;
}

bool SimFrameGenerator::freeBuffer(const Frame& a_frame)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    if (!owns(a_frame) || m_bufferStates[a_frame.m_index] != BufferState::Taken)
        return false;
    m_bufferStates[a_frame.m_index] = BufferState::Free;
    return true;
}

bool SimFrameGenerator::owns(const Frame& a_frame) const
{
    return a_frame.m_index < m_buffers.size() && m_buffers[a_frame.m_index] == a_frame.m_memory;
}

unsigned SimFrameGenerator::queued() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return static_cast<unsigned>(m_ready.size());
}

std::uint64_t SimFrameGenerator::missed() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_missed;
}

bool SimFrameGenerator::injectWaitResult(unsigned a_boardNumber, int a_code)
{
    std::lock_guard<std::mutex> lock(registry().m_mutex);
    auto& live = registry().m_live;
    bool delivered = false;
    for (auto it = live.lower_bound(a_boardNumber); it != live.upper_bound(a_boardNumber); ++it) {
        SimFrameGenerator* generator = it->second;
        std::lock_guard<std::mutex> generatorLock(generator->m_mutex);
        generator->m_injected.push_back(a_code);
        generator->m_changed.notify_all();
        delivered = true;
    }
    return delivered;
}

void SimFrameGenerator::recordEvent(unsigned a_boardNumber, const std::string& a_event)
{
    std::lock_guard<std::mutex> lock(registry().m_mutex);
    std::vector<std::string>& events = registry().m_events[a_boardNumber];
    if (events.size() >= MaxEventsPerBoard)
        events.erase(events.begin());
    events.push_back(a_event);
}

std::vector<std::string> SimFrameGenerator::takeEvents(unsigned a_boardNumber)
{
    std::lock_guard<std::mutex> lock(registry().m_mutex);
    std::vector<std::string> events;
    events.swap(registry().m_events[a_boardNumber]);
    return events;
}

void SimFrameGenerator::run()
{
    const auto period = std::chrono::duration_cast<Clock::duration>(
        std::chrono::duration<double>(1.0 / m_settings.m_frameRate));
    std::unique_lock<std::mutex> lock(m_mutex);
    bool idle = true;
    Clock::time_point next;
    while (!m_shutdown) {
        if (!hasWorkLocked()) {
            idle = true;
            m_changed.wait(lock);
            continue;
        }
        if (freeRunning()) {
            if (idle)
                next = Clock::now() + period;
            idle = false;
            const std::uint64_t commands = m_commands;
            if (m_changed.wait_until(lock, next, [&] { return m_shutdown || m_commands != commands; }))
                continue;
            // A consumer that held the lock too long must not cause a burst of catch-up frames.
            next = std::max(next + period, Clock::now());
        }
        produceFrame(lock);
    }
}

bool SimFrameGenerator::freeRunning() const
{
    return !m_settings.m_triggered || m_settings.m_triggerSource != "Software";
}

bool SimFrameGenerator::hasWorkLocked() const
{
    if (m_state != State::Running || m_remaining == 0)
        return false;
    return freeRunning() || m_pendingTriggers > 0;
}

void SimFrameGenerator::produceFrame(std::unique_lock<std::mutex>& a_lock)
{
    if (!freeRunning())
        --m_pendingTriggers;
    auto freeSlot = std::find(m_bufferStates.begin(), m_bufferStates.end(), BufferState::Free);
    bool overwrote = false;
    if (freeSlot == m_bufferStates.end() && m_overflow == Overflow::DropOldest && !m_ready.empty()) {
        freeSlot = m_bufferStates.begin() + m_ready.front();
        m_ready.pop_front();
        overwrote = true;
    }
    if (freeSlot == m_bufferStates.end() || overwrote) {
        ++m_missed;
        a_lock.unlock();
        raise(QNInterruptFrameDropped);
        a_lock.lock();
        if (!overwrote)
            return;
    }
    const auto index = static_cast<unsigned>(freeSlot - m_bufferStates.begin());
    *freeSlot = BufferState::Filling;
    m_rendering = true;
    const std::uint64_t aborts = m_aborts;
    const std::uint64_t runs = m_runs;
    const std::uint64_t frameNumber = m_frameNumber;
    std::vector<std::uint8_t>& memory = *m_buffers[index];
    a_lock.unlock();
    if (m_settings.m_triggered && freeRunning())
        raise(QNInterruptTrigger);
    renderFrame(memory.data(), frameNumber);
    a_lock.lock();
    m_rendering = false;
    // A frame in progress belongs to its run: an abort or a new start leaves nothing of it, whereas
    // pause and stop let it land.
    if (m_shutdown || m_aborts != aborts || m_runs != runs) {
        m_bufferStates[index] = BufferState::Free;
        m_changed.notify_all();
        return;
    }
    m_bufferStates[index] = BufferState::Queued;
    m_ready.push_back(index);
    ++m_frameNumber;
    if (m_remaining != Unlimited && m_remaining > 0 && --m_remaining == 0)
        m_state = State::Idle;
    m_changed.notify_all();
    a_lock.unlock();
    raise(QNInterruptEndOfFrame);
    a_lock.lock();
}

void SimFrameGenerator::renderPattern()
{
    const unsigned width = m_settings.m_width;
    const unsigned height = m_settings.m_height;
    const unsigned samples = m_encoding.m_channels;
    const unsigned bytes = m_encoding.m_bytesPerSample;
    const unsigned maxValue = (1u << m_encoding.m_significantBits) - 1;
    const std::size_t rowBytes = std::size_t(width) * 2 * samples * bytes;
    m_pattern.assign(rowBytes * 2 * height, 0);
    for (unsigned y = 0; y < 2 * height; ++y) {
        std::uint8_t* row = m_pattern.data() + y * rowBytes;
        for (unsigned x = 0; x < 2 * width; ++x) {
            const Rgb colour = patternColour(x % width, y % height, width, height);
            unsigned values[3] = {colour.m_r, colour.m_g, colour.m_b};
            if (samples == 1) {
                // The mosaic follows the position in the doubled pattern, so a window moved by even
                // steps keeps the sensor's colour order.
                values[0] = m_encoding.m_bayer == Bayer::None
                                ? (colour.m_r * 77 + colour.m_g * 150 + colour.m_b * 29) >> 8
                                : values[bayerChannel(m_encoding.m_bayer, x, y)];
            }
            for (unsigned s = 0; s < samples; ++s) {
                const unsigned value = values[s] * maxValue / 255;
                std::uint8_t* target = row + (std::size_t(x) * samples + s) * bytes;
                target[0] = static_cast<std::uint8_t>(value & 0xFF);
                if (bytes == 2)
                    target[1] = static_cast<std::uint8_t>(value >> 8);
            }
        }
    }
}

void SimFrameGenerator::renderFrame(std::uint8_t* a_target, std::uint64_t a_frameNumber) const
{
    const unsigned width = m_settings.m_width;
    const unsigned height = m_settings.m_height;
    const std::size_t pixelBytes = std::size_t(m_encoding.m_channels) * m_encoding.m_bytesPerSample;
    const std::size_t patternRow = std::size_t(width) * 2 * pixelBytes;
    const std::uint64_t stepX = std::max(2u, width / 128) & ~1u;
    const std::uint64_t stepY = std::max(2u, height / 256) & ~1u;
    const std::size_t offsetX = static_cast<std::size_t>((a_frameNumber * stepX) % width) & ~std::size_t(1);
    const std::size_t offsetY = static_cast<std::size_t>((a_frameNumber * stepY) % height) & ~std::size_t(1);
    for (unsigned y = 0; y < height; ++y) {
        const std::uint8_t* source = m_pattern.data() + (y + offsetY) * patternRow + offsetX * pixelBytes;
        std::memcpy(a_target + std::size_t(y) * m_stride, source, width * pixelBytes);
    }
}

void SimFrameGenerator::waitForRenderLocked(std::unique_lock<std::mutex>& a_lock)
{
    if (std::this_thread::get_id() == m_thread.get_id())
        return;
    m_changed.wait(a_lock, [&] { return !m_rendering || m_shutdown; });
}

void SimFrameGenerator::discardQueuedLocked()
{
    for (unsigned index : m_ready)
        m_bufferStates[index] = BufferState::Free;
    m_ready.clear();
}

void SimFrameGenerator::raise(QNInterruptKind a_kind)
{
    QNSimRaiseInterrupt(m_board, a_kind);
}

} // namespace QNSim

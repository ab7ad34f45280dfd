#pragma once

#include <cstddef>
#include <cstdint>

// The board access calls (Hw...) and the board driver calls (QN...) in the plain form the editor uses:
// integers, opaque handles and caller-owned byte buffers. Every call is safe with any handle, including
// handles of boards closed long ago, and may be made from any thread. The boards come from a machine
// description (see QNSimSetConfigDir).

// Where a board was found, as HwSysBrdFind reports it; pass it to HwBrdOpen and read nothing in it. An
// entry outlives nothing: after the machine description is reloaded it opens no board.
struct HwBrdEntry
{
    std::uint32_t m_index = 0;
    std::uint64_t m_machineLoad = 0;
};

// An open board. Every successful HwBrdOpen yields a new value and values are never reused, so a handle
// that was closed (or invalidated by a reload) stays invalid for good.
using HwBrdHandle = std::uint64_t;
constexpr HwBrdHandle HwNoBoard = 0;

// The only board kind selector the machine knows: frame grabbers.
constexpr unsigned HwSelectorFrameGrabber = 208;
constexpr unsigned HwOpenDataSource = 480;
constexpr unsigned HwOpenAttachedFileScan = 488;

// Register ids run from 0 to QNRegIdCount - 1; QNRegIdCount itself is never a register.
constexpr unsigned QNRegIdCount = 3677;
constexpr std::size_t QNStringBufferSize = 256;
constexpr std::size_t QNCamListBufferSize = 4096;

// Results of the calls that return a status; 0 is success.
enum QNStatus : int
{
    QNStatusOk = 0,
    QNStatusNoSuchBoard = 0x20001,
    QNStatusBadHandle = 0x20002,
    QNStatusBadArgument = 0x20003,
    QNStatusNotSupported = 0x20004,
    QNStatusBufferTooSmall = 0x20005,
    QNStatusNotFound = 0x20006,
    // A camera feature took another value than the one asked for (the nearest it accepts).
    QNStatusClamped = 0x20007,
    // The camera refused a value; the reason comes back in the caller's text buffer.
    QNStatusRefused = 0x20008,
    // The camera stopped answering: unplugged, powered off or its link broken.
    QNStatusCameraLost = 0x20009
};

// Interrupt counters of one board, shared by every handle open on it. Times are microseconds of a
// monotonic clock; 0 means no such frame yet.
struct QNInterruptCounters
{
    std::uint64_t m_frames = 0;
    std::uint64_t m_framesDropped = 0;
    std::uint64_t m_triggers = 0;
    std::uint64_t m_errors = 0;
    std::int64_t m_lastFrameTimeUs = 0;
    std::int64_t m_previousFrameTimeUs = 0;
};

enum QNInterruptKind : int
{
    QNInterruptEndOfFrame = 0,
    QNInterruptFrameDropped = 1,
    QNInterruptTrigger = 2,
    QNInterruptError = 3
};

// 0 when a_entry now describes board a_index.
int HwSysBrdFind(unsigned a_selector, unsigned a_index, HwBrdEntry* a_entry);
// 0 when the board opened; a_handle then holds a new handle. Any flags are accepted.
int HwBrdOpen(const HwBrdEntry* a_entry, HwBrdHandle* a_handle, unsigned a_flags);
int HwBrdClose(HwBrdHandle a_handle);

// Non-zero for a board of the current generation / a Camera Link / a CoaXPress board; 0 for a bad handle.
int QNIsMk2(HwBrdHandle a_handle);
int QNIsCL(HwBrdHandle a_handle);
int QNIsCXP(HwBrdHandle a_handle);
// Non-zero for a camera reached over its own link (GigE Vision, USB3 Vision), with no frame grabber.
int QNIsCamera(HwBrdHandle a_handle);

// Copies the registry multi-string a_valueName (UTF-8 strings, each ended by a zero byte, the list
// ended by an empty string) into a_buffer. A list that does not fit leaves a_buffer holding an empty
// list and returns QNStatusBufferTooSmall.
int QNRegistryBoardGetMultiString(HwBrdHandle a_handle, const char* a_valueName, char* a_buffer,
                                  std::size_t a_bufferSize);

// The model text and the variant text (buffers of QNStringBufferSize bytes, filled with zero-terminated
// texts that always fit), the serial number and the firmware revision. Any output may be null. A camera
// has no numeric serial: its model text is vendor and model, its variant text the serial.
int QNGetBoardStrings(HwBrdHandle a_handle, char* a_model, char* a_variant, std::uint32_t* a_serialNumber,
                      std::uint32_t* a_firmwareRevision);

int QNRegSupported(HwBrdHandle a_handle, unsigned a_id);
// a_name must hold QNStringBufferSize bytes.
int QNRegName(HwBrdHandle a_handle, unsigned a_id, char* a_name);
// 0 for an unsupported register.
std::uint32_t QNRegPeek(HwBrdHandle a_handle, unsigned a_id);
int QNRegPoke(HwBrdHandle a_handle, unsigned a_id, std::uint32_t a_value);

// Camera registers over the CoaXPress link, or of a camera reached directly; fail on other boards and at
// addresses the camera lacks.
int QNCXPReadReg(HwBrdHandle a_handle, std::uint32_t a_address, std::uint32_t* a_value);
int QNCXPWriteReg(HwBrdHandle a_handle, std::uint32_t a_address, std::uint32_t a_value);

int QNInterruptGetCounters(HwBrdHandle a_handle, QNInterruptCounters* a_counters);
int QNInterruptClearCounters(HwBrdHandle a_handle);

// The features of a camera, by the names of its GenICam description. Value texts are at most
// QNStringBufferSize bytes with the terminating zero. Reading: QNStatusNotFound for a name the
// description lacks. Writing: QNStatusOk, or QNStatusClamped when a number was moved into the
// feature's range or onto its increment (a_result then holds the value taken), QNStatusRefused when the
// camera would not take it (a_result holds why), QNStatusNotFound. a_result may be null.
int QNCamGetFeature(HwBrdHandle a_handle, const char* a_name, char* a_value);
int QNCamSetFeature(HwBrdHandle a_handle, const char* a_name, const char* a_value, char* a_result);

// The registers the camera's GenICam description names, in its order: a_index from 0 until the call
// returns QNStatusNotFound. a_name holds QNStringBufferSize bytes.
int QNCamRegisterInfo(HwBrdHandle a_handle, unsigned a_index, char* a_name, std::uint64_t* a_address,
                      std::uint32_t* a_length);

// Which camera links are searched, as a comma-separated list of "GigEVision", "USB3Vision" and "Fake"
// (the in-process test camera), or "none". Without a call the environment variable ORVEX_CAMERAS
// decides, and without that the two real links are searched. A change lists the cameras anew.
void QNCamSetInterfaces(const char* a_interfaces);
// Lets board searches go on without waiting for the GigE Vision and USB3 Vision links, whose search
// takes about a second: HwSysBrdFind then lists the cameras the last search found, and a search that is
// due runs on a thread of its own, which calls a_listed(a_context) when it ends. A null a_listed makes
// searches wait for the links again; once the call returns, an earlier a_listed is no longer called.
void QNCamSearchInBackground(void (*a_listed)(void*), void* a_context);

const char* QNDriverVersion();
const char* QNStatusText(int a_status);
// One line of diagnostics on the debug output; a trailing line break is dropped.
void QNDebugString(const char* a_text);

// The machine description is read from the file named by the environment variable QN_SIM_BOARDS,
// else from SimBoards.json in the configuration folder given here (a local 8-bit path). Giving another
// folder reloads the description, which invalidates every open handle and entry.
void QNSimSetConfigDir(const char* a_configDir);
// Reads the description again now (environment and folder as they stand).
void QNSimReload();
// Forgets the folder and the boards; the next HwSysBrdFind reads the description again.
void QNSimReset();
// What the acquisition side calls when the simulated hardware raises an interrupt. a_timeUs < 0 stamps
// the current time.
int QNSimRaiseInterrupt(HwBrdHandle a_handle, QNInterruptKind a_kind, std::int64_t a_timeUs = -1);

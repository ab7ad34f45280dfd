#pragma once

#include "platform/QNDriver.h"

#include <cstdint>
#include <string>

namespace QNCam {

// The driver calls as they reach cameras: what the board calls answer for a handle or an entry of a
// camera. Built over Aravis when the build has camera support, and otherwise over nothing, so that the
// driver calls are the same either way and a build without cameras simply finds none.
//
// Entries carry EntryTag in their load field and handles carry HandleTag, so that every driver call can
// tell a camera from a simulated board without asking either.
class CameraDriver
{
public:
    static constexpr std::uint64_t EntryTag = std::uint64_t(1) << 63;
    static constexpr HwBrdHandle HandleTag = HwBrdHandle(1) << 62;

    CameraDriver() = delete;

    static bool isCameraHandle(HwBrdHandle a_handle) { return (a_handle & HandleTag) != 0; }
    static bool isCameraEntry(const HwBrdEntry& a_entry) { return (a_entry.m_machineLoad & EntryTag) != 0; }

    static void setInterfaces(const char* a_interfaces);
    static void searchInBackground(void (*a_listed)(void*), void* a_context);
    // a_index counts the cameras alone; a_boardIndex is the board number the entry stands for.
    static int find(unsigned a_index, unsigned a_boardIndex, HwBrdEntry* a_entry);
    static int open(const HwBrdEntry& a_entry, unsigned a_firstCameraBoard, HwBrdHandle* a_handle);
    static int close(HwBrdHandle a_handle);
    static bool isOpen(HwBrdHandle a_handle);

    static int strings(HwBrdHandle a_handle, std::string* a_model, std::string* a_serial);
    static int readRegister(HwBrdHandle a_handle, std::uint32_t a_address, std::uint32_t* a_value);
    static int writeRegister(HwBrdHandle a_handle, std::uint32_t a_address, std::uint32_t a_value);
    static int counters(HwBrdHandle a_handle, QNInterruptCounters* a_counters, bool a_clear);
    static int getFeature(HwBrdHandle a_handle, const std::string& a_name, std::string* a_value);
    static int setFeature(HwBrdHandle a_handle, const std::string& a_name, const std::string& a_value,
                          std::string* a_result);
    static int registerInfo(HwBrdHandle a_handle, unsigned a_index, std::string* a_name,
                            std::uint64_t* a_address, std::uint32_t* a_length);
};

} // namespace QNCam

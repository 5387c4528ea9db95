#pragma once
// Numbers of the VXI-11 core channel, shared by the client and the simulator's server.

#include <cstdint>

namespace zel::visa::vxi11 {

constexpr std::uint32_t kCoreProg = 0x0607AF;
constexpr std::uint32_t kCoreVers = 1;

enum Proc : std::uint32_t {
    CreateLink = 10,
    DeviceWrite = 11,
    DeviceRead = 12,
    DeviceReadStb = 13,
    DeviceClear = 15,
    DestroyLink = 23,
};

constexpr std::int32_t kFlagWaitLock = 1;
constexpr std::int32_t kFlagEnd = 8;
constexpr std::int32_t kFlagTermChar = 128;

constexpr std::int32_t kReasonReqCnt = 1;
constexpr std::int32_t kReasonChr = 2;
constexpr std::int32_t kReasonEnd = 4;

enum Error : std::int32_t {
    NoError = 0,
    SyntaxError = 1,
    DeviceNotAccessible = 3,
    InvalidLinkId = 4,
    ParameterError = 5,
    OperationNotSupported = 8,
    OutOfResources = 9,
    DeviceLocked = 11,
    IoTimeout = 15,
    IoError = 17,
    Abort = 23,
};

} // namespace zel::visa::vxi11

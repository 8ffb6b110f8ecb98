// Result codes of operations: 32 bits, 0 for success. The numbers are part of the behaviour.
#pragma once

#include <cstdint>

namespace orrery {

enum ErrorCode : uint32_t {
    Success = 0,
    AccessDenied = 5,
    NotEnoughMemory = 8,
    BadFormat = 11,
    InvalidData = 13,
    BadNetworkPath = 53,
    BadNetworkResponse = 58,
    InvalidParameter = 87,
    ProcedureNotFound = 127,
    NoData = 232,
    InvalidAddress = 487,
    AlreadyRunning = 1056,
    DllNotFound = 1157,
    NotFound = 1168,
    Continue = 1246,
    AccessDisabledByPolicy = 1260,
    InvalidServerState = 1352,
    BadConfiguration = 1610,
    ObjectNotFound = 4312,
    DeviceNotRegistered = 0x8054820D,
};

}  // namespace orrery

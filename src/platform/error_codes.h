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
    WriteFault = 29,
    BadNetworkPath = 53,
    BadNetworkResponse = 58,
    InvalidParameter = 87,
    ProcedureNotFound = 127,
    ReplyTooLarge = 223,
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
    // Of the HTTP transport; the numbers are those of WinHTTP's documented error list.
    TimedOut = 12002,
    TransportFailed = 12004,  // none of the causes below
    NameNotResolved = 12007,
    ProxyLoginFailed = 12015,
    NothingReceived = 12019,  // asked for a reply that isn't there
    CannotConnect = 12029,
    ConnectionCut = 12030,
    BadServerReply = 12152,
    SecureFailure = 12175,
    HeadersTooLarge = 12181,
    DeviceNotRegistered = 0x8054820D,
};

}  // namespace orrery

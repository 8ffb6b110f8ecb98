// How long a request may take and how much may come back. docs/transport.md says what each is counted from.
#pragma once

#include <chrono>
#include <cstdint>

namespace orrery::wirelink {

struct Limits {
    std::chrono::milliseconds connect{15'000};    // one route: name look-up, proxy and TLS included
    std::chrono::milliseconds firstByte{30'000};  // since the last byte of the request went out
    std::chrono::milliseconds whole{300'000};     // all routes of a request together
    uint64_t reply = uint64_t{32} << 20;          // bytes of a body kept in memory, decompressed
    uint64_t download = uint64_t{1} << 30;        // bytes of a body that goes to a file, decompressed
    uint64_t headers = uint64_t{256} << 10;       // bytes of all header lines of a reply
};

}  // namespace orrery::wirelink

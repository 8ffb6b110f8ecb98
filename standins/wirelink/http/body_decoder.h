// The plain form of a reply's body: undoes gzip and deflate (RFC 1952, RFC 1950) piece by piece, and knows
// whether the stream has come to its end, which the transfer library doesn't tell. One thread.
#pragma once

#include <zlib.h>

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace orrery::wirelink {

class BodyDecoder {
  public:
    // 0, or the error code that ends the decoding.
    using Output = std::function<uint32_t(std::string_view plain)>;

    // What was applied to the body, in any letter case; one coding can be undone, not one over another.
    explicit BodyDecoder(const std::vector<std::string>& codings);
    ~BodyDecoder();
    BodyDecoder(const BodyDecoder&) = delete;
    BodyDecoder& operator=(const BodyDecoder&) = delete;

    // BadServerReply for a broken stream and for an unknown coding, else what `output` gives.
    uint32_t Decode(std::string_view bytes, const Output& output);
    // False if more had to come.
    bool IsWhole() const { return kind == Kind::Plain || ended; }

  private:
    enum class Kind { Plain, Compressed, Unknown };

    Kind kind = Kind::Unknown;
    z_stream stream{};
    bool ended = false;
};

}  // namespace orrery::wirelink

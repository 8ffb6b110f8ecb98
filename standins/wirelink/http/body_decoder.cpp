#include "standins/wirelink/http/body_decoder.h"

#include <array>
#include <string>

#include "platform/error_codes.h"
#include "standins/wirelink/http/http_headers.h"

namespace orrery::wirelink {

BodyDecoder::BodyDecoder(const std::vector<std::string>& codings) {
    constexpr int gzipOrZlib = 32;  // told by the stream's first bytes
    if (codings.empty()) {
        kind = Kind::Plain;
    } else if (codings.size() == 1 && IsKnownEncoding(codings[0]) &&
               inflateInit2(&stream, MAX_WBITS + gzipOrZlib) == Z_OK) {
        kind = Kind::Compressed;
    }
}

BodyDecoder::~BodyDecoder() {
    if (kind == Kind::Compressed) inflateEnd(&stream);
}

uint32_t BodyDecoder::Decode(std::string_view bytes, const Output& output) {
    if (kind == Kind::Plain) return output(bytes);
    if (kind == Kind::Unknown) return BadServerReply;
    std::array<char, 16384> plain;
    // The library never writes to its input.
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(bytes.data()));
    stream.avail_in = static_cast<uInt>(bytes.size());
    do {
        if (ended && inflateReset(&stream) != Z_OK) return BadServerReply;  // a further member of the stream
        stream.next_out = reinterpret_cast<Bytef*>(plain.data());
        stream.avail_out = static_cast<uInt>(plain.size());
        const int state = inflate(&stream, Z_NO_FLUSH);
        ended = state == Z_STREAM_END;
        // No progress was possible: all that has come is used up.
        if (state != Z_OK && state != Z_STREAM_END && state != Z_BUF_ERROR) return BadServerReply;
        const uint32_t result = output({plain.data(), plain.size() - stream.avail_out});
        if (result != Success) return result;
    } while (stream.avail_in > 0 || (!ended && stream.avail_out == 0));
    return Success;
}

}  // namespace orrery::wirelink

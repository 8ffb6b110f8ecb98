#include "standins/wirelink/http/response_record.h"

#include <algorithm>
#include <memory>

#include "platform/text.h"

namespace orrery::wirelink {

void EmptyResponse(TransportResponse& response) {
    const uint32_t size = response.size;
    if (size == transportResponseSize) {
        delete[] response.headers;
        delete[] static_cast<const char*>(response.content);
    }
    response = {};
    response.size = size;
}

void FillResponse(TransportResponse& response, const HttpReply& reply) {
    const WideString lines = ToWide(HeaderLines(reply.headers));
    auto headers = std::make_unique<char16_t[]>(lines.size() + 1);
    std::copy(lines.begin(), lines.end(), headers.get());
    std::unique_ptr<char[]> content;
    if (!reply.body.empty()) {
        content = std::make_unique<char[]>(reply.body.size());
        std::copy(reply.body.begin(), reply.body.end(), content.get());
    }
    const std::string* const date = FindHeader(reply.headers, "Date");

    EmptyResponse(response);
    response.size = transportResponseSize;
    response.status = reply.status;
    response.headers = headers.release();
    response.content = content.release();
    response.contentSize = static_cast<uint32_t>(reply.body.size());
    if (date) response.date = ReadDate(*date);
}

}  // namespace orrery::wirelink

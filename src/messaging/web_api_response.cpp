#include "messaging/web_api_response.h"

#include <cstring>
#include <new>
#include <string>

#include "events/dispatcher_helper.h"
#include "foundation/text/numbers.h"
#include "foundation/trace.h"
#include "platform/error_codes.h"

namespace orrery {

uint32_t StatusToError(uint32_t status) {
    if (status == 304) return Continue;
    if (status == 403) return AccessDenied;
    if (status == 404) return NotFound;
    switch (status / 100) {
        case 2:
            return Success;
        case 3:
            return InvalidAddress;
        case 4:
            return BadNetworkPath;
        case 5:
            return InvalidServerState;
        default:
            return BadNetworkResponse;
    }
}

void WebApiResponse::SetResult(const CalendarTime& replyDate, uint32_t replyStatus, const void* replyContent,
                               uint32_t size) {
    const Trace::Scope trace("WebApiResponse::SetResult");
    date = replyDate;
    status = replyStatus;
    KeepContent(replyContent, size);
    ClearEnvelope();
    const uint32_t error = StatusToError(status);
    if (error == Success) return;
    Trace::Error("the server refused", status, error);
    if (content && ParseEnvelope() && envelope.hasActions) ForwardActions();
}

void WebApiResponse::KeepContent(const void* bytes, uint32_t size) {
    content.reset();
    contentSize = 0;
    if (!bytes || size == 0) return;
    content.reset(new (std::nothrow) uint8_t[size]);
    if (!content) return;
    std::memcpy(content.get(), bytes, size);
    contentSize = size;
}

void WebApiResponse::ClearEnvelope() {
    envelope.Clear();
    envelope.code.clear();
    envelope.message.clear();
    envelope.serverTime = 0;
    envelope.hasActions = false;
}

bool WebApiResponse::ParseEnvelope() {
    if (!envelope.Parse(std::string(reinterpret_cast<const char*>(content.get()), contentSize))) return false;
    const CMessageObject* actions = nullptr;
    envelope.hasActions = envelope.GetObject(u"Actions", actions);
    WideString code;
    WideString message;
    WideString serverTime;
    if (!envelope.GetString(u"Code", code) || !envelope.GetString(u"Message", message) ||
        !envelope.GetString(u"ServerTime", serverTime)) {
        Trace::Error("an error reply is no envelope", status);
        return false;
    }
    envelope.code = std::move(code);
    envelope.message = std::move(message);
    envelope.serverTime = LeadingInt32(serverTime);
    return true;
}

void WebApiResponse::ForwardActions() const {
    CEventSequence sequence(u"WebApiResponse Actions from Orrery Server");
    // A copy: the envelope stays whole for whoever reads the reply.
    if (!dispatcherHelper || sequence.AddActions(CMessageObject(envelope)) != Success) return;
    const uint32_t result = dispatcherHelper->RaiseSequence(sequence, EventOrigin::Remote);
    if (result != Success) Trace::Error("the actions of an error reply can't be raised", result);
}

bool WebApiResponse::SetHeaderText(WideView text) {
    const Trace::Scope trace("WebApiResponse::SetHeaderText");
    headers.clear();
    return ParseHeaderText(text, headers);
}

}  // namespace orrery

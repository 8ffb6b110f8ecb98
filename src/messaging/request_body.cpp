#include "messaging/request_body.h"

#include "foundation/json/message_object.h"
#include "foundation/trace.h"

namespace orrery {

CRequestBody::CRequestBody(const CMessageObject* message) {
    if (!message) return;
    if (message->SerializeUtf8(data)) {
        contentType = u"application/json";
    } else {
        Trace::Error("a request's body can't be written", message->name);
    }
}

}  // namespace orrery

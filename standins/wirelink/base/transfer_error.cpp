#include "standins/wirelink/base/transfer_error.h"

#include "platform/error_codes.h"

namespace orrery::wirelink {

uint32_t ErrorOfTransfer(CURLcode code) {
    switch (code) {
        case CURLE_OK:
            return Success;
        case CURLE_OPERATION_TIMEDOUT:
            return TimedOut;
        case CURLE_COULDNT_RESOLVE_HOST:
        case CURLE_COULDNT_RESOLVE_PROXY:
            return NameNotResolved;
        case CURLE_COULDNT_CONNECT:
        case CURLE_PROXY:
            return CannotConnect;
        case CURLE_SEND_ERROR:
        case CURLE_RECV_ERROR:
        case CURLE_GOT_NOTHING:
        case CURLE_PARTIAL_FILE:
            return ConnectionCut;
        case CURLE_WEIRD_SERVER_REPLY:
        case CURLE_UNSUPPORTED_PROTOCOL:  // an answer older than HTTP/1.0
            return BadServerReply;
        case CURLE_SSL_CONNECT_ERROR:
        case CURLE_SSL_CERTPROBLEM:
        case CURLE_SSL_CIPHER:
        case CURLE_PEER_FAILED_VERIFICATION:
        case CURLE_SSL_CACERT_BADFILE:
        case CURLE_SSL_ISSUER_ERROR:
        case CURLE_SSL_PINNEDPUBKEYNOTMATCH:
        case CURLE_SSL_INVALIDCERTSTATUS:
            return SecureFailure;
        case CURLE_OUT_OF_MEMORY:
            return NotEnoughMemory;
        default:
            return TransportFailed;
    }
}

}  // namespace orrery::wirelink

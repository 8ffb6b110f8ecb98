// Carries one request over the HTTP transport and delivers its reply. It decides what is sent, with which
// proxy, trust and credentials, keeps the difference of the device's clock to the server's, and writes the
// message log. HTTP is the transport's work; retries are nobody's here. An object serves one thread.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>

#include "contracts/config_util.h"
#include "contracts/wirelink.h"
#include "foundation/libraries/wirelink_use.h"

namespace orrery {

class IRequest;
class IRequestResponse;
struct ProxyRecord;

// Results are 0, 13 for no connection, or the transport's code. A reply is a success whatever its HTTP
// status. Both operations block until the reply has come or the transport's deadlines have passed, and both
// fill `response` before they return; a failed Send leaves it alone.
class IRequestDispatcher {
  public:
    virtual ~IRequestDispatcher() = default;
    // Also 87 for a request without a body, 1610 without credentials. `reserved` goes to the transport;
    // `proxyUsed` may be null and is filled if a connection came about.
    virtual uint32_t Send(IRequest& request, uint32_t reserved, IRequestResponse& response,
                          ProxyRecord* proxyUsed) = 0;
    // Unsigned, without a body, into the file. 1246 if the file is the server's already. `response` gets the
    // status also of a failure, and never content.
    virtual uint32_t Download(IRequest& request, const WideString& path, IRequestResponse& response) = 0;
};

class WirelinkRequestDispatcher final : public IRequestDispatcher {
  public:
    // A null `configUtil` is replaced by the process's store. Throws std::invalid_argument("ConfigUtil")
    // without one, std::logic_error("Cannot Initialize Wirelink") without the transport.
    WirelinkRequestDispatcher(ConfigUtil* configUtil, bool logMessages);

    uint32_t Send(IRequest& request, uint32_t reserved, IRequestResponse& response,
                  ProxyRecord* proxyUsed) override;
    uint32_t Download(IRequest& request, const WideString& path, IRequestResponse& response) override;

    // The request's record makes the file, the reply's goes behind it.
    void WriteRequestRecord(IRequest& request, const WideString& url, uint32_t result, const uint32_t* status,
                            const IProxySetting* proxy);
    void WriteResponseRecord(const TransportResponse& reply, uint32_t result);

    // Seconds, the server's time minus the device's, both UTC, as the last reply showed. One for the process,
    // for its life.
    static inline std::atomic<int64_t> serverClockOffset{0};

  private:
    class Exchange;

    uint32_t SendOver(Exchange& exchange, uint32_t reserved, IRequestResponse& response,
                      ProxyRecord* proxyUsed);
    void NoteProxyUsed(Exchange& exchange, uint32_t result, ProxyRecord* proxyUsed);
    static uint32_t Receive(Exchange& exchange, IRequestResponse& response);
    static uint32_t ReceiveHeaders(Exchange& exchange, IRequestResponse& response);
    static void LearnClockOffset(const CalendarTime& date);

    ConfigUtil* const configUtil;
    const bool logMessages;
    WideString logFile;  // of the current request
    const CWirelinkUse transport;
    IWirelink* const wirelink;
};

}  // namespace orrery

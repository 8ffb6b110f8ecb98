#include "hub/server/hub_server.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/signal_set.hpp>
#include <csignal>
#include <fstream>
#include <optional>
#include <stdexcept>

#include "hub/devices/device_handlers.h"
#include "hub/devices/device_hub.h"
#include "hub/faults/fault_handlers.h"
#include "hub/http/proxy_script_handlers.h"
#include "hub/server/http_session.h"
#include "hub/web_api/bind_handlers.h"
#include "hub/web_api/exchange_handlers.h"
#include "hub/web_api/notification_handlers.h"
#include "hub/web_api/service_handlers.h"
#include "hub/web_api/web_api_gate.h"

namespace orrery::hub {
namespace {

constexpr uint16_t goingAway = 1001;
constexpr std::chrono::milliseconds farewellTime{250};
constexpr std::chrono::milliseconds acceptPause{100};

tcp::endpoint ReadEndpoint(const HubOptions& options) {
    error_code failed;
    const auto address = asio::ip::make_address(options.address, failed);
    if (failed) throw std::runtime_error(options.address + " is no IP address");
    return {address, options.port};
}

void Listen(tcp::acceptor& acceptor, const tcp::endpoint& endpoint) try {
    acceptor.open(endpoint.protocol());
    acceptor.set_option(asio::socket_base::reuse_address(true));
    acceptor.bind(endpoint);
    acceptor.listen();
} catch (const boost::system::system_error& failed) {
    throw std::runtime_error("can't listen on " + endpoint.address().to_string() + " port " +
                             std::to_string(endpoint.port()) + ": " + failed.code().message());
}

// The library's own words for a missing file say nothing.
void RequireReadable(const std::string& file) {
    if (!std::ifstream(file)) throw std::runtime_error("can't read " + file);
}

void LoadCertificate(asio::ssl::context& tls, const HubOptions& options) {
    const std::string& key = options.tlsKey.empty() ? options.tlsCertificate : options.tlsKey;
    RequireReadable(options.tlsCertificate);
    RequireReadable(key);
    error_code failed;
    tls.use_certificate_chain_file(options.tlsCertificate, failed);
    if (failed)
        throw std::runtime_error(options.tlsCertificate + " is no PEM certificate: " + failed.message());
    tls.use_private_key_file(key, asio::ssl::context::pem, failed);
    if (failed) throw std::runtime_error(key + " is no PEM key of the certificate: " + failed.message());
}

}  // namespace

struct HubServer::Impl {
    Impl(HubOptions given, const LogLine& log)
        : options(std::move(given)),
          clock(options.clockOffset),
          devices(log, clock),
          gate(options.secret, clock, log, deviceRouter, faults, exchanges) {
        if (!options.tlsCertificate.empty()) {
            tls.emplace(asio::ssl::context::tls_server);
            tls->set_options(asio::ssl::context::default_workarounds | asio::ssl::context::no_tlsv1 |
                             asio::ssl::context::no_tlsv1_1);
            LoadCertificate(*tls, options);
        }
        AddHandlers();
        Listen(acceptor, ReadEndpoint(options));
        port = acceptor.local_endpoint().port();
        Accept();
        KeepAlive();
    }

    void AddHandlers() {
        AddDeviceHandlers(router, devices);
        AddProxyScriptHandlers(router);
        AddFaultHandlers(router, faults);
        AddExchangeHandlers(router, exchanges);
        AddNotificationHandlers(router, data);
        for (const char* prefix : {"/webapi/", "/services/"})
            router.AddPrefix(prefix, [this](const HttpRequest& request) { return gate.Handle(request); });
        AddBindHandlers(deviceRouter, devices);
        AddServiceHandlers(deviceRouter, data);
    }

    void Accept() {
        acceptor.async_accept(
            [this](error_code failed, tcp::socket socket) { OnAccept(failed, std::move(socket)); });
    }

    void OnAccept(error_code failed, tcp::socket socket) {
        if (!acceptor.is_open()) return;
        if (failed) return AcceptLater();
        error_code ignored;
        socket.set_option(tcp::no_delay(true), ignored);
        HubStream stream(std::move(socket), tls ? &*tls : nullptr);
        std::make_shared<HttpSession>(std::move(stream), router, devices, options.path, clock)->Start();
        Accept();
    }

    // Without free descriptors every attempt fails at once; trying on would take the whole thread.
    void AcceptLater() {
        acceptTimer.expires_after(acceptPause);
        acceptTimer.async_wait([this](error_code) {
            if (acceptor.is_open()) Accept();
        });
    }

    void KeepAlive() {
        if (options.keepAliveSeconds == 0) return;
        keepAliveTimer.expires_after(std::chrono::seconds(options.keepAliveSeconds));
        keepAliveTimer.async_wait([this](error_code) {
            devices.SendKeepAlive();
            KeepAlive();
        });
    }

    void Stop() {
        if (!acceptor.is_open()) return;
        error_code ignored;
        acceptor.close(ignored);
        if (devices.Connected() == 0) return io.stop();
        devices.CloseAll(goingAway);
        stopTimer.expires_after(farewellTime);
        stopTimer.async_wait([this](error_code) { io.stop(); });
    }

    const HubOptions options;
    std::optional<asio::ssl::context> tls;
    const HubClock clock;
    DeviceHub devices;
    DataStore data;
    FaultList faults;
    ExchangeLog exchanges;
    Router deviceRouter;  // behind the gate
    WebApiGate gate;
    Router router;
    uint16_t port = 0;
    // Behind all that the sessions refer to: its end destroys them, wherever they stand.
    asio::io_context io{1};
    tcp::acceptor acceptor{io};
    ClockTimer acceptTimer{io};
    ClockTimer keepAliveTimer{io};
    ClockTimer stopTimer{io};
    asio::signal_set signals{io};
};

HubServer::HubServer(HubOptions options, const LogLine& log)
    : impl(std::make_unique<Impl>(std::move(options), log)) {}

HubServer::~HubServer() = default;

uint16_t HubServer::Port() const {
    return impl->port;
}

void HubServer::StopOnSignals() {
    impl->signals.add(SIGINT);
    impl->signals.add(SIGTERM);
    impl->signals.async_wait([this](error_code failed, int) {
        if (!failed) impl->Stop();
    });
}

void HubServer::Run() {
    impl->io.run();
}

void HubServer::Stop() {
    asio::post(impl->io, [this] { impl->Stop(); });
}

}  // namespace orrery::hub

// bind_bench HOST:PORT : one DeviceBind execution, from the event to the stored answer, against a POST of the
// same signed body by the HTTP library alone. The hub at HOST:PORT answers both. The settings come from the
// agent's home that the environment names: see benchmarks/bind.
#include <curl/curl.h>

#include <chrono>
#include <iostream>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>

#include "events/dispatcher_helper.h"
#include "events/scheduler_helper.h"
#include "foundation/settings/config_helper.h"
#include "foundation/text/time_text.h"
#include "module/realtime_event_handler.h"
#include "platform/clock.h"
#include "standins/wirelink/signature/request_signature.h"

namespace {

using namespace orrery;

constexpr int calls = 200;
constexpr int rounds = 10;
constexpr char secret[] = "orrery-development";

struct HeaderList {
    ~HeaderList() { ::curl_slist_free_all(list); }
    void Add(const std::string& line) { list = ::curl_slist_append(list, line.c_str()); }
    ::curl_slist* list = nullptr;
};

// A client that does nothing but post. With `keep` it holds on to its connection, which the transport, whose
// requests are one connection each, doesn't.
class BarePoster {
  public:
    BarePoster(const std::string& hub, std::string body, bool keep)
        : url("http://" + hub + "/webapi/bind"), body(std::move(body)), keep(keep) {
        const std::string time = ToUtf8(DateTimeText(platform::UtcTime(), 'T')) + "Z";
        const std::string signature =
            wirelink::Signature(2, secret, {"POST", "/webapi/bind", time, "application/json", this->body});
        headers.Add("Content-Type: application/json");
        headers.Add(std::string(wirelink::timestampHeader) + ": " + time);
        headers.Add("Authorization: " + wirelink::AuthorizationText("ZWS2", "bare", signature));
    }
    ~BarePoster() { ::curl_easy_cleanup(handle); }

    void Post() {
        if (!handle) handle = ::curl_easy_init();
        long status = 0;
        ::curl_easy_setopt(handle, CURLOPT_URL, url.c_str());
        ::curl_easy_setopt(handle, CURLOPT_POSTFIELDS, body.c_str());
        ::curl_easy_setopt(handle, CURLOPT_HTTPHEADER, headers.list);
        ::curl_easy_setopt(
            handle, CURLOPT_WRITEFUNCTION,
            +[](char*, size_t size, size_t count, void*) { return size * count; });
        const CURLcode done = ::curl_easy_perform(handle);
        ::curl_easy_getinfo(handle, CURLINFO_RESPONSE_CODE, &status);
        if (done != CURLE_OK || status != 200) throw std::runtime_error("the hub refuses the bare call");
        if (keep) return;
        ::curl_easy_cleanup(handle);
        handle = nullptr;
    }

  private:
    const std::string url;
    const std::string body;
    const bool keep;
    HeaderList headers;
    ::CURL* handle = nullptr;
};

template <class Work>
double SecondsFor(const Work& work) {
    const auto begin = std::chrono::steady_clock::now();
    for (int call = 0; call < calls; ++call) work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
}

std::string BodyTold(ConfigUtil& store) {
    WideString text;
    store.ReadValue(u"Realtime.DeviceBind.LastInfoSent", text, 0);
    return ToUtf8(text);
}

nlohmann::json Measure(const std::string& hub) {
    CDispatcherHelper dispatcher;
    CSchedulerHelper scheduler(dispatcher);
    CRealtimeEventHandler registry(nullptr, &dispatcher, &scheduler);
    CMessageObject event;
    event.Parse(std::string(R"({"DeviceBind":{"Force":true}})"));
    const auto bind = [&] {
        if (registry.ExecuteEventHandler(u"DeviceBind", event) != 0)
            throw std::runtime_error("the hub refuses the bind");
    };
    bind();
    BarePoster fresh(hub, BodyTold(*GetConfigUtil()), false);
    BarePoster kept(hub, BodyTold(*GetConfigUtil()), true);
    nlohmann::json result = nlohmann::json::array();
    for (int round = 0; round < rounds; ++round) {
        result.push_back({{"fresh", SecondsFor([&] { fresh.Post(); })},
                          {"kept", SecondsFor([&] { kept.Post(); })},
                          {"ours", SecondsFor(bind)}});
    }
    return result;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::cerr << "usage: bind_bench HOST:PORT\n";
        return 2;
    }
    std::cout << Measure(argv[1]).dump() << '\n';
    return 0;
}

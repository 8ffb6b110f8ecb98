#include <gmock/gmock.h>

#include "running_hub.h"
#include "standins/wirelink/signature/request_signature.h"

namespace orrery::hub {
namespace {

using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

constexpr int64_t ahead = 3600, start = 1'767'323'045 - ahead;
const std::string date = "Date: Fri, 02 Jan 2026 03:04:05 GMT";
const std::string said = R"({"NotificationProvider":6,"RecipientId":"n-1"})";
const std::string bind = "/webapi/bind", data = "/services/notifications/1/n-1";

class WebApi : public RunningHub {
  protected:
    WebApi() : RunningHub({.port = 0, .keepAliveSeconds = 0, .clockOffset = ahead}, start) {}

    // A connection each, for some faults end it.
    int Ask(const std::string& method, const std::string& target, const std::string& body = {}) {
        const std::string signature =
            wirelink::Signature(2, "orrery-development", {method, target, stamp, "", std::string_view(body)});
        http = std::make_unique<HubClient>(server.Port());
        return http->Http(method, target, body, Stamp() + "ZWS2 d:" + signature + "\r\n");
    }
    std::string Stamp() const { return "x-zelko-timestamp: " + stamp + "\r\nAuthorization: "; }
    void Fault(const std::string& members) { Api("POST", "/api/faults", '{' + members + '}'); }

    std::unique_ptr<HubClient> http;
    std::string stamp = "2026-01-02T03:04:05.678Z";
};

TEST_F(WebApi, TakesOnlyWhatIsSignedRightAndInTime) {
    const std::string v2 = "ZWS2 demo-device:br9dupC/KW0hR3GEg8W7aGi1snrwVxmUJZPDQYLLy4E=";
    const std::string v1 = "ZWS demo-device:En6KF2RY1BpZYCrddQCzcOOyY46Du/DEPSC+DWPkP/8=";
    const std::tuple<int, std::string, std::string, int64_t> cases[] = {
        {200, v2, said, 300}, {200, v1, said, -299}, {401, v2, "{}", 301},   {200, v1, "{}", 0},
        {403, v2, said, 301}, {403, v1, said, -300}, {401, "ZWS2", said, 0}, {401, "X" + v2, said, 0}};
    for (const auto& [status, authorization, body, late] : cases) {
        clock.SetUtc(start + late);
        const std::string headers = "Content-Type: application/json\r\n" + Stamp() + authorization + "\r\n";
        EXPECT_EQ(api.Http("POST", bind, body, headers), status) << authorization << body << late;
        if (status == 200) continue;
        const std::string time = R"("ServerTime":")" + std::to_string(start + ahead + late) + "\"}";
        EXPECT_THAT(api.answer, AllOf(StartsWith(R"({"Code":")" + std::to_string(status)), EndsWith(time)));
    }
    stamp[10] = ' ';
    EXPECT_EQ(Ask("POST", bind, said), 403);
    EXPECT_EQ(api.Http("GET", data), 401);
}

TEST_F(WebApi, EachFaultHitsItsRequestOnce) {
    Fault(R"("match":"/webapi/","count":2,"status":403,"actions":{"E":{}})");
    EXPECT_EQ(Api("GET", "/api/faults"),
              R"([{"match":"/webapi/","count":2,"status":403,"actions":{"E":{}}}])");
    EXPECT_EQ(Ask("PUT", data), 201) << "another target";
    for (int i = 0; i < 2; ++i) EXPECT_EQ(Ask("POST", bind, said), 403);
    EXPECT_THAT(http->answer, AllOf(StartsWith(R"({"Code":"403",)"), HasSubstr(R"("Actions":{"E":{}}})")));
    EXPECT_EQ(Api("GET", "/api/devices?all=1"), "[]") << "refused, and so not bound";
    const std::tuple<std::string, int, std::string, std::string> cases[] = {
        {R"("status":600,"body":"raw")", 600, date, "raw"},
        {R"("dateOffset":-3600)", 200, "Date: Fri, 02 Jan 2026 02:04:05 GMT", "{}"},
    };
    for (const auto& [members, status, head, answer] : cases) {
        Fault(members);
        EXPECT_EQ(Ask("POST", bind, said), status) << members;
        EXPECT_THAT(http->head, HasSubstr(head));
        EXPECT_EQ(http->answer, answer);
    }
    for (const auto& [members, size] :
         std::map<std::string, size_t>{{R"("cut":0)", 0}, {R"("endless":true)", 1'000'000}}) {
        Fault(members);
        Ask("POST", bind, said);
        EXPECT_EQ(http->Read(1'000'000).size(), size) << members;
    }
    EXPECT_EQ(Ask("POST", bind, said), 200) << "no fault is left";
}

TEST_F(WebApi, RecordsTheLatestThousandExchanges) {
    Fault(R"("cut":1)");
    Ask("POST", "/services/s/1/queues/q?x", "m");
    EXPECT_THAT(Api("GET", "/api/exchanges"),
                AllOf(HasSubstr(R"("target":"/services/s/1/queues/q?x","device":"d","authorized":"ok",)"),
                      HasSubstr(R"("status":"cut","etag":null,"contentType":null,"via":null,)"),
                      HasSubstr(R"("body":"m","fault":{"cut":1}}])")));
    for (int i = 0; i < 1000; ++i) api.Http("GET", "/webapi/" + std::to_string(i));
    const std::string oldest = R"([{"time":"2026-01-02T03:04:05Z","method":"GET","target":"/webapi/0",)";
    EXPECT_THAT(Api("GET", "/api/exchanges"), StartsWith(oldest));
    Ask("PUT", "/services/s/1/containers/c/1/n", "\xff");
    EXPECT_THAT(Api("GET", "/api/exchanges"), EndsWith(R"("size":1,"body":null,"fault":null}])"));
}

TEST_F(WebApi, RefusesWhatItCannotRead) {
    const std::pair<const char*, const char*> faults[] = {
        {R"("status":199)", "status is to be 200 to 999"},
        {R"("envelope":false,"delay":1)", "envelope goes with a status only"},
        {R"("cut":18446744073709551615)", "cut is"},
        {R"("etag":"a\r\nb")", "etag is"},
        {R"("delay":1,"dealy":1)", "dealy is unknown"},
        {R"("cut":1,"endless":true)", "exclude each other"},
        {R"("gzip":"whole")", "gzip is"},
    };
    for (const auto& [members, words] : faults)
        ExpectRefused({{400, words, "POST", "/api/faults", '{' + std::string(members) + '}'}});
    std::string members = R"({"x":0)";
    for (int i = 1; i < 20'000; ++i) members += ",\"" + std::to_string(i) + "\":0";
    ExpectRefused({{400, "topic is", "POST", "/api/push", members + '}'},
                   {400, "20,000 members", "POST", "/api/push", members + R"(,"y":0})"},
                   {400, "no JSON object", "POST", "/api/faults", "[]"},
                   {400, "message is", "POST", "/api/notify", R"({"id":"n-1","message":1})"}});
    EXPECT_EQ(Ask("POST", bind, R"({"x":)" + std::string(5'000'000, '[')), 400);
    for (const char* target :
         {"/services/", "/services/s/1/files/c", "/services/s/1/files/c/n/x", "/services/s/1/other/c/1/n"})
        EXPECT_EQ(Ask("PUT", target), 404) << target;
    EXPECT_EQ(Ask("POST", data), 405);
    EXPECT_THAT(http->head, HasSubstr("Allow: GET, PUT\r\n"));
}

}  // namespace
}  // namespace orrery::hub

#include <gmock/gmock.h>

#include "messaging/authorization.h"
#include "messaging/message_dispatcher.h"
#include "support/test_environment.h"

namespace orrery::test {
namespace {

using testing::ElementsAre;

struct Operation {
    WideString type;
    std::function<bool(CMessageDispatcher&)> run;
    const char* call;
};

const Operation operations[] = {
    {u"FileUpload", [](auto& services) { return services.UploadFile(u"S", u"path", u"name"); },
     "upload box name path"},
    {u"Queue", [](auto& services) { return services.EnqueueMessage(u"S", u"label", "text"); },
     "queue box label text"},
    {u"DataContainer",
     [](auto& services) { return services.SendDataContainer(u"S", u"name", "data", u"other", 3, true); },
     "container other 3 name data last"},
};

struct Services : WirelinkTest {
    Services() {
        const std::pair<const char16_t*, const char16_t*> settings[] = {
            {u"S.DeviceId", u"device"}, {u"S.Hostname", u"host"},       {u"Defaults.User-Agent", u"agent"},
            {u"S.PathPrefix", u"/p"},   {u"S.Service", u"service"},     {u"S.ProductVersion", u"2.0"},
            {u"S.Product", u"12x"},     {u"Defaults.Container", u"box"}};
        for (const auto& [name, value] : settings) Set(name, value);
    }
    void Set(const WideString& name, const WideString& value) { config.Set(u"Services." + name, value); }
    bool Enqueues() { return services.EnqueueMessage(u"S", u"label", "text"); }
    // Of the credentials; 0 without any.
    uint32_t Version() {
        AuthorizationInfo credentials;
        LoadAuthorization(&config, credentials, u"Services", nullptr, false);
        return credentials.version;
    }

    CMessageDispatcher services{&config};
};

// An open client outlives both: it has copied what it needs.
TEST_F(Services, ProxiesAndTrustLiveUntilTheOperationReturns) {
    const std::string opened = "open device site agent host /p service 12 2.0 as id by ZWS with secret";
    const std::string proxies = "use proxies direct fallback";
    for (const auto& [type, run, call] : operations) {
        Set(u"S.Type", type);
        EXPECT_TRUE(run(services));
        EXPECT_THAT(wire.Take(), ElementsAre(opened, proxies, "trust on", "use trust", call, "close",
                                             "destroy store", "free list"));
    }
    Set(u"S.Type", u"EventHub");
    IServiceClient* client = services.OpenEventHub(u"S");
    EXPECT_THAT(wire.Take(),
                ElementsAre(opened, proxies, "trust on", "use trust", "destroy store", "free list"));
    services.CloseEventHub(&client);
    EXPECT_THAT(wire.Take(), ElementsAre("close"));
}

TEST_F(Services, OnlyWhatSettingsAndTransportAllowIsDone) {
    for (const Operation& one : operations) {
        Set(u"S.Type", one.type);
        for (const Operation& other : operations) EXPECT_EQ(other.run(services), other.type == one.type);
    }
    Set(u"S.Type", u"Queue");
    wire.knobs.takes = false;
    EXPECT_FALSE(Enqueues()) << "the server refuses";
    wire.knobs = {.makesOthers = false};
    EXPECT_FALSE(Enqueues()) << "no client";
    wire.knobs = {};
    Set(u"S.DeviceId", u"");
    EXPECT_FALSE(Enqueues()) << "no device";
}

TEST_F(Services, OnlyANumberFromItsFirstCharacterOnIsAVersion) {
    for (const WideString version : {u"2", u"02", u"2x", u" 2", u"+2", u"x2", u"1", u"4294967298"}) {
        Set(u"Authorization.AuthorizationService", u"ZWS");
        Set(u"Authorization.AuthorizationServiceVersion", version);
        EXPECT_EQ(Version(), version[0] == u'2' || version == u"02" ? 2U : 1U);
        Set(u"Authorization.AuthorizationService", u"zws");
        EXPECT_EQ(Version(), 1U);
    }
}

TEST_F(Services, CredentialsNeedAnIdAndASecretOfAtMost255Characters) {
    for (const WideString name : {u"Authorization.AuthorizationId", u"Authorization.Secret"}) {
        for (const size_t length : {0U, 255U, 256U}) {
            Set(name, WideString(length, u'x'));
            EXPECT_EQ(Version(), length < 256 ? 1U : 0U);
        }
        config.DeleteValue(u"Services." + name);
        EXPECT_EQ(Version(), 0U);
        Set(name, u"x");
    }
}

}  // namespace
}  // namespace orrery::test

#include "contracts/wirelink.h"

#include <gtest/gtest.h>

#include <string>

#include "platform/files.h"
#include "platform/library.h"

namespace orrery::wirelink {
namespace {

class WirelinkModule : public testing::TestWithParam<WideString> {};

TEST_P(WirelinkModule, GivesOneCountedTransportThatToleratesNull) {
    const auto library = platform::OpenLibrary(platform::WidePath(MODULE_FOLDER), GetParam());
    ASSERT_TRUE(library) << platform::LastLibraryError();
    const auto get = reinterpret_cast<GetIWirelinkFunction>(platform::FindExport(library, "GetIWirelink"));
    const auto free = reinterpret_cast<FreeIWirelinkFunction>(platform::FindExport(library, "FreeIWirelink"));

    IWirelink* first = get();
    IWirelink* transport = get();
    EXPECT_EQ(first, transport);
    free(&first);
    EXPECT_EQ(first, nullptr);

    IProxySetting* const entry = transport->CreateProxySetting(ProxyWpad, nullptr, u"user", nullptr, u"more",
                                                               u"http://w/p", true, true);
    EXPECT_EQ(WideString(entry->Username()), u"user");
    EXPECT_EQ(WideString(entry->FurtherText()), u"more");
    EXPECT_EQ(WideString(entry->WPADUrl()), u"http://w/p");
    EXPECT_TRUE(entry->WPADAutoDetect() && entry->Fallback());
    IProxyList* const list = transport->CreateProxyList();
    EXPECT_TRUE(list->AddEntry(entry));
    transport->FreeProxyList(list);
    transport->ReleaseProxySetting(transport->NewProxySetting());

    IServiceClient* noClient = nullptr;
    transport->FreeProxyList(nullptr);
    transport->ReleaseProxySetting(nullptr);
    transport->DestroyConnection(nullptr);
    transport->CloseServiceClient(&noClient);
    transport->CloseServiceClient(nullptr);
    transport->DestroyTrustStore(nullptr);
    transport->SetProxyObserver(nullptr);
    free(&transport);
    free(&transport);
    EXPECT_TRUE(platform::CloseLibrary(library));
}

INSTANTIATE_TEST_SUITE_P(, WirelinkModule, testing::Values(u"Wirelink.dll", u"WirelinkLC.dll"),
                         [](const auto& entry) { return entry.index == 0 ? "Current" : "Older"; });

}  // namespace
}  // namespace orrery::wirelink

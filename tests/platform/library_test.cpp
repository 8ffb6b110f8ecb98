#include "platform/library.h"

#include <gtest/gtest.h>

namespace orrery::platform {
namespace {

TEST(Library, FindsExportsOfOneThatTheLoaderKnows) {
    const LibraryHandle library = OpenLibrary(u"", u"libm.so.6");
    ASSERT_NE(library, nullptr) << LastLibraryError();
    EXPECT_NE(FindExport(library, "cos"), nullptr);
    EXPECT_EQ(FindExport(library, "no_such_export"), nullptr);
    EXPECT_TRUE(CloseLibrary(library));
}

TEST(Library, AFailureNamesTheNativeFile) {
    EXPECT_EQ(OpenLibrary(u"\\no\\such\\", u"Missing.DLL"), nullptr);
    EXPECT_NE(LastLibraryError().find("/no/such/Missing.so"), std::string::npos);
}

}  // namespace
}  // namespace orrery::platform

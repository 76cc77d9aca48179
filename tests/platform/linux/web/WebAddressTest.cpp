#include "Vintra/platform/linux/web/WebAddress.h"

#include <gtest/gtest.h>

namespace vintra {
namespace {

using WebAddress::PlainHTTP;

TEST(WebAddressTest, secureAddressesAreAllowed) {
    for (const char* address : {"https://vintra.test", "https://vintra.test:8443/feed?a=b#c",
                                "HTTPS://VINTRA.TEST/", "https://127.0.0.1/"})
        EXPECT_TRUE(WebAddress::isAllowed(address, PlainHTTP::refused)) << address;
}

TEST(WebAddressTest, othersAreNot) {
    for (const char* address : {"http://vintra.test/", "ftp://vintra.test/", "file:///etc/passwd",
                                "vintra.test", "", "https://", "javascript:alert(1)", "http://localhost/",
                                "http://127.0.0.1.vintra.test/", "http://user@vintra.test/",
                                "http://127.0.0.1@vintra.test/", "http://[::2]/", "gopher://127.0.0.1/"}) {
        EXPECT_FALSE(WebAddress::isAllowed(address, PlainHTTP::refused)) << address;
        EXPECT_FALSE(WebAddress::isAllowed(address, PlainHTTP::onLoopback)) << address;
    }
}

TEST(WebAddressTest, plainOnesOfThisMachineAreAllowedWhereThatIsAsked) {
    for (const char* address : {"http://127.0.0.1:8000/feed", "http://127.8.9.1/", "http://[::1]:80/"}) {
        EXPECT_TRUE(WebAddress::isAllowed(address, PlainHTTP::onLoopback)) << address;
        EXPECT_FALSE(WebAddress::isAllowed(address, PlainHTTP::refused)) << address;
    }
}

} // namespace
} // namespace vintra

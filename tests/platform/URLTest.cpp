#include "Vintra/platform/URL.h"

#include <gtest/gtest.h>

namespace vintra {
namespace {

TEST(URLTest, thePathIsEncodedButForTheUrlPathCharacterSet) {
    EXPECT_EQ(URL::fileURL("/Take 1/a&b;c%d.mov").absoluteString(), "file:///Take%201/a&b%3Bc%25d.mov");
    EXPECT_EQ(URL::fileURL("/!$&'()*+,-./:=@_~").absoluteString(), "file:///!$&'()*+,-./:=@_~");
    EXPECT_EQ(URL::fileURL("/\"#<>?[\\]^`{|}").percentEncodedPath(),
              "/%22%23%3C%3E%3F%5B%5C%5D%5E%60%7B%7C%7D");
}

TEST(URLTest, nonAsciiAndControlBytesAreEncodedAsTheyLie) {
    EXPECT_EQ(URL::fileURL("/\xC3\xA9\x01\x7F\xFF").percentEncodedPath(), "/%C3%A9%01%7F%FF");
}

TEST(URLTest, theNameAndItsParts) {
    const URL url = URL::fileURL("/Takes/a.b_video.mov");
    EXPECT_EQ(url.lastPathComponent(), "a.b_video.mov");
    EXPECT_EQ(url.stem(), "a.b_video");
    EXPECT_EQ(url.pathExtension(), "mov");
    EXPECT_EQ(url.deletingLastPathComponent(), URL::fileURL("/Takes/"));
    EXPECT_EQ(URL::fileURL("/Takes/.hidden").stem(), ".hidden");
}

} // namespace
} // namespace vintra

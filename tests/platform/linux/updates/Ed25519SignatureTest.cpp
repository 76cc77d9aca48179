#include "Vintra/platform/linux/updates/Ed25519Signature.h"

#include "tests/platform/linux/updates/SigningKey.h"

#include <gtest/gtest.h>

namespace vintra {
namespace {

std::vector<uint8_t> bytesOfText(const std::string& text) {
    return {text.begin(), text.end()};
}

// The second test of RFC 8032, section 7.1: one byte, 0x72.
constexpr const char* kKnownKey = "PUAXw+hDiVqStwqnTRt+vJyYLM8uxJaMwM1V8Sr0Zgw=";
constexpr const char* kKnownSignature =
    "kqAJqfDUyrhyDoILX2QlQKKye1QWUD+Ps3YiI+vbadoIWsHkPhWZbkWPNhPQ8R2MOHsurrQwKu6wDSkWErsMAA==";

TEST(Ed25519SignatureTest, theKnownOneIsGood) {
    EXPECT_TRUE(Ed25519Signature::verify(kKnownSignature, kKnownKey, {0x72}));
    EXPECT_FALSE(Ed25519Signature::verify(kKnownSignature, kKnownKey, {0x73}));
    EXPECT_FALSE(Ed25519Signature::verify(kKnownSignature, kKnownKey, {0x72, 0x72}));
    EXPECT_FALSE(Ed25519Signature::verify(kKnownSignature, kKnownKey, {}));
}

TEST(Ed25519SignatureTest, onlyTheOwnersOneIsGood) {
    const SigningKey ours;
    const SigningKey others;
    const std::string file(100'000, 'v');
    EXPECT_TRUE(Ed25519Signature::verify(ours.sign(file), ours.publicKey(), bytesOfText(file)));
    EXPECT_FALSE(Ed25519Signature::verify(others.sign(file), ours.publicKey(), bytesOfText(file)));
    EXPECT_FALSE(Ed25519Signature::verify(ours.sign(file), others.publicKey(), bytesOfText(file)));
    EXPECT_FALSE(Ed25519Signature::verify(ours.sign("another"), ours.publicKey(), bytesOfText(file)));
}

TEST(Ed25519SignatureTest, everyChangedBitIsSeen) {
    const std::string signature = kKnownSignature;
    // The last character before the padding has bits that say nothing.
    for (size_t at = 0; at < signature.size() - 3; ++at) {
        std::string changed = signature;
        changed[at] = changed[at] == 'A' ? 'B' : 'A';
        EXPECT_FALSE(Ed25519Signature::verify(changed, kKnownKey, {0x72})) << at;
    }
}

TEST(Ed25519SignatureTest, whatIsMalformedIsNotGood) {
    EXPECT_TRUE(Ed25519Signature::isWellFormed(kKnownSignature));
    const std::string good = kKnownSignature;
    for (const std::string& wrong :
         {std::string(), good.substr(1), good + "A", good + "\n", " " + good.substr(1), std::string(88, '='),
          std::string(88, '!'), good.substr(0, 86),
          good.substr(0, 84) + "====", std::string(86, 'A') + "=="}) {
        EXPECT_FALSE(Ed25519Signature::verify(wrong, kKnownKey, {0x72})) << wrong;
    }
    EXPECT_FALSE(Ed25519Signature::isWellFormed(std::string(88, '!')));
    EXPECT_FALSE(Ed25519Signature::isWellFormed(good.substr(0, 84) + "===="));
    EXPECT_FALSE(Ed25519Signature::isWellFormed(""));
    EXPECT_FALSE(Ed25519Signature::verify(good, "", {0x72}));
    EXPECT_FALSE(Ed25519Signature::verify(good, "AAAA", {0x72}));
}

} // namespace
} // namespace vintra

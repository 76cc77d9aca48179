#pragma once

#include <memory>
#include <openssl/evp.h>
#include <string>
#include <vector>

namespace vintra {

/// A key of Ed25519 that a test makes and signs with.
class SigningKey {
public:
    SigningKey()
        : key(EVP_PKEY_Q_keygen(nullptr, nullptr, "ED25519"), EVP_PKEY_free) {}

    std::string publicKey() const {
        unsigned char bytes[32];
        size_t size = sizeof bytes;
        EVP_PKEY_get_raw_public_key(key.get(), bytes, &size);
        return base64(bytes, size);
    }
    std::string sign(const std::string& message) const {
        const std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)> context(EVP_MD_CTX_new(),
                                                                              EVP_MD_CTX_free);
        unsigned char bytes[64];
        size_t size = sizeof bytes;
        EVP_DigestSignInit(context.get(), nullptr, nullptr, nullptr, key.get());
        EVP_DigestSign(context.get(), bytes, &size, reinterpret_cast<const unsigned char*>(message.data()),
                       message.size());
        return base64(bytes, size);
    }

private:
    static std::string base64(const unsigned char* bytes, size_t size) {
        std::vector<unsigned char> text(size * 4 / 3 + 8);
        const int length = EVP_EncodeBlock(text.data(), bytes, static_cast<int>(size));
        return {text.begin(), text.begin() + length};
    }
    std::unique_ptr<EVP_PKEY, decltype(&EVP_PKEY_free)> key;
};

} // namespace vintra

#include "Vintra/platform/linux/updates/Ed25519Signature.h"

#include <memory>
#include <openssl/evp.h>

namespace vintra::Ed25519Signature {
namespace {

constexpr size_t kSignatureSize = 64; // bytes
constexpr size_t kKeySize = 32;       // bytes

struct EVPDeleter {
    void operator()(EVP_PKEY* key) const { EVP_PKEY_free(key); }
    void operator()(EVP_MD_CTX* context) const { EVP_MD_CTX_free(context); }
};

/// Empty unless the text is exactly so many bytes.
std::vector<uint8_t> decoded(const std::string& text, size_t size) {
    const size_t padding = (3 - size % 3) % 3;
    if (text.size() != (size + padding) / 3 * 4) return {};
    if (!text.ends_with(std::string(padding, '=')) || text.find('=') != text.size() - padding) return {};
    std::vector<uint8_t> bytes(size + padding);
    const int count = EVP_DecodeBlock(bytes.data(), reinterpret_cast<const unsigned char*>(text.data()),
                                      static_cast<int>(text.size()));
    if (count != static_cast<int>(size + padding)) return {};
    bytes.resize(size);
    return bytes;
}

} // namespace

bool isWellFormed(const std::string& signature) {
    return !decoded(signature, kSignatureSize).empty();
}

bool verify(const std::string& signature, const std::string& publicKey, const std::vector<uint8_t>& bytes) {
    const auto rawSignature = decoded(signature, kSignatureSize);
    const auto rawKey = decoded(publicKey, kKeySize);
    if (rawSignature.empty() || rawKey.empty()) return false;
    const std::unique_ptr<EVP_PKEY, EVPDeleter> key(
        EVP_PKEY_new_raw_public_key(EVP_PKEY_ED25519, nullptr, rawKey.data(), rawKey.size()));
    const std::unique_ptr<EVP_MD_CTX, EVPDeleter> context(EVP_MD_CTX_new());
    if (!key || !context) return false;
    if (EVP_DigestVerifyInit(context.get(), nullptr, nullptr, nullptr, key.get()) != 1) return false;
    return EVP_DigestVerify(context.get(), rawSignature.data(), rawSignature.size(), bytes.data(),
                            bytes.size()) == 1;
}

} // namespace vintra::Ed25519Signature

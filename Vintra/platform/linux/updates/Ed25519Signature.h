#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace vintra {

/// The signature of a whole file. Any thread.
namespace Ed25519Signature {

/// Whether the text is 64 bytes in Base64.
bool isWellFormed(const std::string& signature);

/// Whether the signature, in Base64, is that of these bytes by the owner of the public key, 32 bytes in Base64. False
/// for anything malformed.
bool verify(const std::string& signature, const std::string& publicKey, const std::vector<uint8_t>& bytes);

} // namespace Ed25519Signature
} // namespace vintra

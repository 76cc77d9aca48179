#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace vintra {

inline constexpr uint32_t kReplacementScalar = 0xFFFD;

/// What stands at one place of a text.
struct UTF8Scalar {
    uint32_t value = kReplacementScalar;
    size_t length = 1;    ///< bytes; 1 where the bytes are malformed
    bool isValid = false; ///< false for bytes that are no UTF-8
};

/// The scalar at `offset`, which lies before the end. Overlong forms and surrogates are malformed.
UTF8Scalar scalarAt(std::string_view text, size_t offset);
void appendScalar(std::string& text, uint32_t scalar);

} // namespace vintra

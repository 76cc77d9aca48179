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
/// With `with` in the place of each character that would act on what shows the text instead of being shown: the control
/// characters, and those that turn the direction of what follows. Bytes that are no UTF-8 pass through.
std::string replacingControlCharacters(std::string_view text, std::string_view with);
/// The text as a terminal may be given it: its lines, with U+FFFD for each control character and each malformed byte.
std::string printable(std::string_view text);
void appendScalar(std::string& text, uint32_t scalar);

} // namespace vintra

#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace vintra {

constexpr double kLargestGain = 60; ///< of a track, in dB up or down

/// The text as a finite decimal number, whatever the locale; nothing unless all of it is one.
std::optional<double> wholeTextAsNumber(const std::string& text);
/// The text as a whole number; nothing unless all of it is one that fits.
std::optional<int64_t> wholeTextAsWholeNumber(const std::string& text);
/// Likewise in hexadecimal digits alone.
std::optional<int64_t> wholeTextAsHexNumber(const std::string& text);
/// The shortest text that reads back as the number: "10", "0.5".
std::string plainNumber(double number);
/// With so many digits behind the point.
std::string fixedNumber(double number, int digits);

} // namespace vintra

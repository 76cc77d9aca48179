#include "tools/vintra-take/Numbers.h"

#include <charconv>
#include <cmath>

namespace vintra {
namespace {

template <typename Number>
std::optional<Number> wholeText(const std::string& text) {
    Number number{};
    const char* const begin = text.data() + (text.starts_with("+") && text.size() > 1 && text[1] != '-');
    const char* const end = text.data() + text.size();
    const auto result = std::from_chars(begin, end, number);
    if (result.ec != std::errc{} || result.ptr != end) return std::nullopt;
    return number;
}

} // namespace

std::optional<double> wholeTextAsNumber(const std::string& text) {
    const auto number = wholeText<double>(text);
    return number && std::isfinite(*number) ? number : std::nullopt;
}

std::optional<int64_t> wholeTextAsWholeNumber(const std::string& text) {
    return wholeText<int64_t>(text);
}

std::optional<int64_t> wholeTextAsHexNumber(const std::string& text) {
    int64_t number = 0;
    const char* const end = text.data() + text.size();
    const auto result = std::from_chars(text.data(), end, number, 16);
    if (result.ec != std::errc{} || result.ptr != end || number < 0) return std::nullopt;
    return number;
}

std::string plainNumber(double number) {
    char buffer[400]; // the longest fixed text of a double has 309 digits before the point
    const auto result = std::to_chars(buffer, buffer + sizeof buffer, number, std::chars_format::fixed);
    return {buffer, result.ptr};
}

std::string fixedNumber(double number, int digits) {
    char buffer[400];
    const auto result =
        std::to_chars(buffer, buffer + sizeof buffer, number, std::chars_format::fixed, digits);
    return {buffer, result.ptr};
}

} // namespace vintra

#include "Vintra/app/VersionOrder.h"

#include <algorithm>
#include <cctype>

namespace vintra {
namespace {

/// What a version falls into: its numbers and its words. What stands between them says nothing.
struct VersionPiece {
    enum class Kind { word, none, number }; // in their order: "1.0b" < "1.0" < "1.0.1"
    Kind kind = Kind::none;
    std::string_view text;
};

bool isVersionDigit(char character) {
    return character >= '0' && character <= '9';
}

VersionPiece takePiece(std::string_view& rest) {
    while (!rest.empty() && !std::isalnum(static_cast<unsigned char>(rest.front())))
        rest.remove_prefix(1);
    if (rest.empty()) return {};
    const bool isNumber = isVersionDigit(rest.front());
    const auto end = std::ranges::find_if(rest, [isNumber](char character) {
        return !std::isalnum(static_cast<unsigned char>(character)) || isVersionDigit(character) != isNumber;
    });
    const std::string_view text(rest.begin(), end);
    rest.remove_prefix(text.size());
    return {isNumber ? VersionPiece::Kind::number : VersionPiece::Kind::word, text};
}

std::string_view withoutLeadingZeros(std::string_view number) {
    return number.substr(std::min(number.find_first_not_of('0'), number.size()));
}

std::weak_ordering orderOf(const VersionPiece& left, const VersionPiece& right) {
    using Kind = VersionPiece::Kind;
    if (left.kind == Kind::word && right.kind == Kind::word) return left.text <=> right.text;
    if (left.kind == Kind::word || right.kind == Kind::word) return left.kind <=> right.kind;
    // A number that isn't there is 0.
    const std::string_view leftNumber = withoutLeadingZeros(left.text);
    const std::string_view rightNumber = withoutLeadingZeros(right.text);
    if (leftNumber.size() != rightNumber.size()) return leftNumber.size() <=> rightNumber.size();
    return leftNumber <=> rightNumber;
}

} // namespace

std::weak_ordering compareVersions(std::string_view left, std::string_view right) {
    while (!left.empty() || !right.empty()) {
        const auto order = orderOf(takePiece(left), takePiece(right));
        if (order != 0) return order;
    }
    return std::weak_ordering::equivalent;
}

} // namespace vintra

#pragma once

#include <array>
#include <compare>
#include <cstdint>
#include <functional>
#include <string>

namespace vintra {

/// A 128-bit identity. Fresh ones come from `ProcessInfo::makeUUID`.
struct UUID {
    std::array<uint8_t, 16> bytes{};

    /// Upper-case hexadecimal in groups of 8-4-4-4-12.
    std::string uuidString() const;
    auto operator<=>(const UUID&) const = default;
};

} // namespace vintra

template <>
struct std::hash<vintra::UUID> {
    size_t operator()(const vintra::UUID& id) const noexcept {
        size_t result = 1469598103934665603u; // FNV-1a, 64 bits
        for (const uint8_t byte : id.bytes)
            result = (result ^ byte) * 1099511628211u;
        return result;
    }
};

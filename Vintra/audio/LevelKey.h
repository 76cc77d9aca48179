#pragma once

#include "Vintra/platform/UUID.h"

#include <cstddef>
#include <functional>

namespace vintra {

/// Whose level: the mic's, the second track's, or that of an extra input row. A value: any thread.
struct LevelKey {
    enum class Kind { extra, mic, daw };

    static LevelKey extra(const UUID& id) { return {Kind::extra, id}; }
    static LevelKey mic() { return {Kind::mic, {}}; }
    static LevelKey daw() { return {Kind::daw, {}}; }

    Kind kind = Kind::mic;
    UUID id; ///< of the row; all zero for the others
    auto operator<=>(const LevelKey&) const = default;
};

} // namespace vintra

template <>
struct std::hash<vintra::LevelKey> {
    size_t operator()(const vintra::LevelKey& key) const noexcept {
        return std::hash<vintra::UUID>{}(key.id) ^ static_cast<size_t>(key.kind);
    }
};

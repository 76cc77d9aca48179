#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>
#include <span>

namespace vintra {

/// Reads big-endian numbers and atoms from bytes in memory. Beyond the end all is zero, and `isShort` says so: the
/// caller looks once, at the end. A value of one thread; the bytes outlive it.
class AtomReader {
public:
    struct Atom {
        char type[5] = {};
        std::span<const uint8_t> body;
        bool is(const char* name) const { return std::strcmp(type, name) == 0; }
    };

    explicit AtomReader(std::span<const uint8_t> bytes)
        : bytes(bytes) {}

    uint64_t number(size_t count) {
        uint64_t value = 0;
        for (size_t i = 0; i < count; ++i)
            value = value << 8 | next();
        return value;
    }
    uint32_t u32() { return static_cast<uint32_t>(number(4)); }
    uint64_t u64() { return number(8); }
    void skip(size_t count) {
        isShort = isShort || count > rest();
        position += count > rest() ? rest() : count;
    }
    size_t rest() const { return bytes.size() - position; }
    std::span<const uint8_t> remaining() const { return bytes.subspan(position); }

    /// The atom that begins here, and moves behind it; nothing at the end, or if it isn't whole.
    std::optional<Atom> atom() {
        if (rest() < 8) return std::nullopt;
        Atom atom;
        const uint32_t size = u32();
        for (int i = 0; i < 4; ++i)
            atom.type[i] = static_cast<char>(next());
        if (size < 8 || size - 8 > rest()) return std::nullopt;
        atom.body = bytes.subspan(position, size - 8);
        position += size - 8;
        return atom;
    }

    bool isShort = false;

private:
    uint8_t next() {
        if (position == bytes.size()) {
            isShort = true;
            return 0;
        }
        return bytes[position++];
    }

    std::span<const uint8_t> bytes;
    size_t position = 0;
};

/// The first atom of the type among those in the bytes; empty if there is none.
inline std::span<const uint8_t> atomIn(std::span<const uint8_t> bytes, const char* type) {
    AtomReader reader(bytes);
    while (const auto atom = reader.atom()) {
        if (atom->is(type)) return atom->body;
    }
    return {};
}

} // namespace vintra

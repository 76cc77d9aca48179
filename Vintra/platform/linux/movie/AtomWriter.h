#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace vintra {

/// Builds the atoms of a QuickTime file in memory: big-endian numbers, and sizes filled in when an atom's
/// scope ends. A value of one thread.
class AtomWriter {
public:
    /// An atom from here to the end of the scope.
    class Atom {
    public:
        Atom(AtomWriter& writer, const char (&type)[5]);
        /// One with a version and 24 bits of flags.
        Atom(AtomWriter& writer, const char (&type)[5], uint8_t version, uint32_t flags);
        ~Atom();
        Atom(const Atom&) = delete;
        Atom& operator=(const Atom&) = delete;

    private:
        AtomWriter& writer;
        const size_t start;
    };

    void type(const char (&code)[5]) { bytes_.insert(bytes_.end(), code, code + 4); }
    void u8(uint64_t value) { number(value, 1); }
    void u16(uint64_t value) { number(value, 2); }
    void u32(uint64_t value) { number(value, 4); }
    void u64(uint64_t value) { number(value, 8); }
    void zeros(size_t count) { bytes_.insert(bytes_.end(), count, 0); }
    void append(std::span<const uint8_t> some) { bytes_.insert(bytes_.end(), some.begin(), some.end()); }
    /// Overwrites four bytes at a place.
    void setU32(size_t at, uint32_t value);

    size_t size() const { return bytes_.size(); }
    const std::vector<uint8_t>& bytes() const { return bytes_; }

private:
    void number(uint64_t value, int count);
    std::vector<uint8_t> bytes_;
};

} // namespace vintra

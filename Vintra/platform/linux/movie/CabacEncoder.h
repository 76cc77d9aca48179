#pragma once

#include "Vintra/platform/linux/movie/BitWriter.h"

#include <cstdint>

namespace vintra {

/// The arithmetic code of HEVC's slices, for the few kinds of bits that a repeated picture has. Writes behind what
/// the header has left, which must end at a whole byte. A value of one thread.
class CabacEncoder {
public:
    /// What is known of one kind of bits.
    class Context {
    public:
        /// By the format's number for the kind, and the quantiser of the slice.
        Context(int initialValue, int quantiser);

    private:
        friend class CabacEncoder;
        uint8_t state = 0;
        bool likely = false;
    };

    explicit CabacEncoder(BitWriter& out)
        : out(out) {}
    void encode(Context& context, bool bit);
    /// Whether the slice ends here. After a true one nothing may follow.
    void encodeEnd(bool isLast);

private:
    void renormalise();
    void put(uint32_t bit);

    BitWriter& out;
    uint32_t low = 0;
    uint32_t range = 510;
    bool isFirst = true;
    int64_t outstanding = 0;
};

} // namespace vintra

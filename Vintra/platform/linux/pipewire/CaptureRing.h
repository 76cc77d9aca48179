#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace vintra {

/// Carries stamped blocks of bytes from PipeWire's real-time thread to its other one, without a lock. One
/// thread writes, one reads. A block that finds no room is left out and counted.
class CaptureRing {
public:
    struct Block {
        int64_t time = 0;
        uint32_t frames = 0;
        size_t bytes = 0;
    };

    /// The bytes are rounded up to a power of two.
    CaptureRing(size_t byteCapacity, size_t blockCapacity);

    /// Real-time: doesn't allocate, lock, block or throw.
    bool write(int64_t time, uint32_t frames, const uint8_t* bytes, size_t length);

    /// The oldest block that has not been read; false if there is none.
    bool peek(Block& block) const;
    /// Copies that block's bytes out and frees its room.
    void read(uint8_t* destination);

    uint64_t blocksLeftOut() const { return leftOut.load(std::memory_order_relaxed); }

private:
    std::vector<uint8_t> storage;
    std::vector<Block> blocks;
    // Ever written and ever read, never wrapped.
    size_t bytesWritten = 0; ///< the writer's
    size_t bytesRead = 0;    ///< the reader's
    std::atomic<size_t> bytesFreed{0};
    std::atomic<size_t> blocksWritten{0};
    std::atomic<size_t> blocksRead{0};
    std::atomic<uint64_t> leftOut{0};
};

} // namespace vintra

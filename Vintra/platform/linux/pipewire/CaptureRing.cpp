#include "Vintra/platform/linux/pipewire/CaptureRing.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace vintra {

CaptureRing::CaptureRing(size_t byteCapacity, size_t blockCapacity)
    : storage(std::bit_ceil(std::max<size_t>(byteCapacity, 1)))
    , blocks(std::bit_ceil(std::max<size_t>(blockCapacity, 1))) {}

bool CaptureRing::write(int64_t time, uint32_t frames, const uint8_t* bytes, size_t length) {
    const size_t index = blocksWritten.load(std::memory_order_relaxed);
    const bool hasRoom =
        bytesWritten - bytesFreed.load(std::memory_order_acquire) + length <= storage.size() &&
        index - blocksRead.load(std::memory_order_acquire) < blocks.size();
    if (!hasRoom) {
        leftOut.fetch_add(1, std::memory_order_relaxed);
        return false;
    }
    const size_t start = bytesWritten & (storage.size() - 1);
    const size_t untilEnd = std::min(length, storage.size() - start);
    std::memcpy(storage.data() + start, bytes, untilEnd);
    std::memcpy(storage.data(), bytes + untilEnd, length - untilEnd);
    bytesWritten += length;
    blocks[index & (blocks.size() - 1)] = {time, frames, length};
    blocksWritten.store(index + 1, std::memory_order_release);
    return true;
}

bool CaptureRing::peek(Block& block) const {
    const size_t index = blocksRead.load(std::memory_order_relaxed);
    if (index == blocksWritten.load(std::memory_order_acquire)) return false;
    block = blocks[index & (blocks.size() - 1)];
    return true;
}

void CaptureRing::read(uint8_t* destination) {
    const size_t index = blocksRead.load(std::memory_order_relaxed);
    const size_t length = blocks[index & (blocks.size() - 1)].bytes;
    const size_t start = bytesRead & (storage.size() - 1);
    const size_t untilEnd = std::min(length, storage.size() - start);
    std::memcpy(destination, storage.data() + start, untilEnd);
    std::memcpy(destination + untilEnd, storage.data(), length - untilEnd);
    bytesRead += length;
    bytesFreed.store(bytesRead, std::memory_order_release);
    blocksRead.store(index + 1, std::memory_order_release);
}

} // namespace vintra

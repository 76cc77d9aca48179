#include "Vintra/platform/CMBlockBuffer.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace vintra {

CMBlockBuffer::CMBlockBuffer(std::vector<Piece> pieces, std::shared_ptr<void> owner)
    : pieces(std::move(pieces))
    , owner(std::move(owner)) {
    for (const Piece& piece : this->pieces)
        total += piece.length;
}

std::shared_ptr<CMBlockBuffer> CMBlockBuffer::make(size_t length) {
    std::shared_ptr<uint8_t[]> memory(new uint8_t[length == 0 ? 1 : length]);
    uint8_t* const bytes = memory.get();
    return std::shared_ptr<CMBlockBuffer>(new CMBlockBuffer({{bytes, length}}, std::move(memory)));
}

std::shared_ptr<CMBlockBuffer> CMBlockBuffer::make(std::vector<Piece> pieces, std::shared_ptr<void> owner) {
    return std::shared_ptr<CMBlockBuffer>(new CMBlockBuffer(std::move(pieces), std::move(owner)));
}

CMBlockBuffer::DataPointer CMBlockBuffer::dataPointer(size_t offset) const {
    size_t start = 0;
    for (const Piece& piece : pieces) {
        if (offset < start + piece.length)
            return {piece.bytes + (offset - start), start + piece.length - offset, total};
        start += piece.length;
    }
    return {nullptr, 0, total};
}

void CMBlockBuffer::fillDataBytes(uint8_t byte, size_t offset, size_t length) {
    while (length > 0) {
        const DataPointer at = dataPointer(offset);
        if (at.bytes == nullptr) return;
        const size_t part = std::min(length, at.lengthAtOffset);
        std::memset(at.bytes, byte, part);
        offset += part;
        length -= part;
    }
}

void CMBlockBuffer::copyDataBytes(uint8_t* destination) const {
    for (const Piece& piece : pieces) {
        if (piece.length > 0) std::memcpy(destination, piece.bytes, piece.length);
        destination += piece.length;
    }
}

} // namespace vintra

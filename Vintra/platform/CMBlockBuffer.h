#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace vintra {

/// The bytes of a sample, in one piece or several. The bytes may be changed in place by the one thread that
/// is handling the sample; readers on other threads get theirs only after that.
class CMBlockBuffer {
public:
    struct Piece {
        uint8_t* bytes = nullptr;
        size_t length = 0;
    };
    struct DataPointer {
        uint8_t* bytes = nullptr;
        size_t lengthAtOffset = 0; ///< bytes that lie in one piece from the offset on
        size_t totalLength = 0;    ///< bytes of the whole buffer
    };

    /// A fresh buffer in one piece, its bytes not initialised.
    static std::shared_ptr<CMBlockBuffer> make(size_t length);
    /// A buffer over memory that `owner` keeps alive, in one or several pieces.
    static std::shared_ptr<CMBlockBuffer> make(std::vector<Piece> pieces, std::shared_ptr<void> owner);

    size_t dataLength() const { return total; }
    /// A null pointer if the offset is at or past the end.
    DataPointer dataPointer(size_t offset) const;
    /// The whole data if it lies in one piece, else null.
    uint8_t* contiguousBytes() const { return pieces.size() == 1 ? pieces.front().bytes : nullptr; }
    /// Sets `length` bytes from the offset on; what lies past the end is left out.
    void fillDataBytes(uint8_t byte, size_t offset, size_t length);
    /// Copies the whole data to `destination`, which has room for `dataLength()` bytes.
    void copyDataBytes(uint8_t* destination) const;

private:
    CMBlockBuffer(std::vector<Piece> pieces, std::shared_ptr<void> owner);
    std::vector<Piece> pieces;
    std::shared_ptr<void> owner;
    size_t total = 0;
};

} // namespace vintra

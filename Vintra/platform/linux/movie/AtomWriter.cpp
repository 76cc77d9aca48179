#include "Vintra/platform/linux/movie/AtomWriter.h"

namespace vintra {

AtomWriter::Atom::Atom(AtomWriter& writer, const char (&type)[5])
    : writer(writer)
    , start(writer.size()) {
    writer.u32(0);
    writer.type(type);
}

AtomWriter::Atom::Atom(AtomWriter& writer, const char (&type)[5], uint8_t version, uint32_t flags)
    : Atom(writer, type) {
    writer.u32(uint32_t{version} << 24 | flags);
}

AtomWriter::Atom::~Atom() {
    writer.setU32(start, static_cast<uint32_t>(writer.size() - start));
}

void AtomWriter::setU32(size_t at, uint32_t value) {
    for (size_t i = 0; i < 4; ++i)
        bytes_[at + i] = static_cast<uint8_t>(value >> (24 - 8 * i));
}

void AtomWriter::number(uint64_t value, int count) {
    for (int i = count - 1; i >= 0; --i)
        bytes_.push_back(static_cast<uint8_t>(value >> (8 * i)));
}

} // namespace vintra

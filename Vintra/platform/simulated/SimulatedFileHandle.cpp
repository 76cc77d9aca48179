#include "Vintra/platform/simulated/SimulatedFileHandle.h"

#include <algorithm>
#include <cerrno>
#include <utility>

namespace vintra {

SimulatedFileHandle::SimulatedFileHandle(std::shared_ptr<SimulatedDisk> disk, SimulatedDisk::Item file,
                                         std::string path, Mode mode)
    : disk(std::move(disk))
    , file(std::move(file))
    , path(std::move(path))
    , mode(mode) {}

size_t SimulatedFileHandle::read(uint8_t* bytes, size_t count) {
    checkOpen(Mode::reading);
    disk->perform(SimulatedFileOperation::read, path);
    const uint64_t size = file->bytes.size();
    const size_t part = offset >= size ? 0 : std::min<uint64_t>(count, size - offset);
    std::copy_n(file->bytes.begin() + static_cast<ptrdiff_t>(std::min(offset, size)), part, bytes);
    offset += part;
    return part;
}

void SimulatedFileHandle::write(const uint8_t* bytes, size_t count) {
    checkOpen(Mode::writing);
    disk->perform(SimulatedFileOperation::write, path);
    disk->write(*file, offset, bytes, count);
    offset += count;
}

void SimulatedFileHandle::seek(uint64_t position) {
    if (!file) throwDiskError(EBADF, path);
    offset = position;
}

void SimulatedFileHandle::close() {
    if (!file) return;
    file = nullptr;
    disk->perform(SimulatedFileOperation::close, path);
}

void SimulatedFileHandle::synchronize() {
    if (!file) throwDiskError(EBADF, path);
}

void SimulatedFileHandle::checkOpen(Mode needed) const {
    if (!file || mode != needed) throwDiskError(EBADF, path);
}

} // namespace vintra

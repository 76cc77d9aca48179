#pragma once

#include "Vintra/platform/FileManager.h"
#include "Vintra/platform/linux/runtime/FileDescriptor.h"

#include <utility>

namespace vintra {

/// An open file. One thread at a time.
class LinuxFileHandle : public FileHandle {
public:
    LinuxFileHandle(FileDescriptor descriptor, URL file)
        : descriptor(std::move(descriptor))
        , file(std::move(file)) {}

    size_t read(uint8_t* bytes, size_t count) override;
    void write(const uint8_t* bytes, size_t count) override;
    void seek(uint64_t offset) override;
    void close() override;
    void synchronize() override;

private:
    FileDescriptor descriptor;
    const URL file;
};

} // namespace vintra

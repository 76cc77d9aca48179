#pragma once

#include "Vintra/platform/FileManager.h"
#include "Vintra/platform/linux/runtime/FileDescriptor.h"

#include <memory>
#include <utility>

namespace vintra {

/// A lock of the whole file (flock). One thread at a time.
class LinuxFileLock : public FileLock {
public:
    /// As `FileManager::lock`.
    static std::unique_ptr<LinuxFileLock> take(const URL& at);

private:
    explicit LinuxFileLock(FileDescriptor descriptor)
        : descriptor(std::move(descriptor)) {}

    const FileDescriptor descriptor;
};

} // namespace vintra

#pragma once

#include <unistd.h>
#include <utility>

namespace vintra {

/// Owns an open file descriptor. One thread at a time.
class FileDescriptor {
public:
    FileDescriptor() = default;
    explicit FileDescriptor(int descriptor)
        : descriptor(descriptor) {}
    FileDescriptor(FileDescriptor&& other) noexcept
        : descriptor(std::exchange(other.descriptor, -1)) {}
    FileDescriptor& operator=(FileDescriptor&& other) noexcept {
        if (this != &other) {
            reset();
            descriptor = std::exchange(other.descriptor, -1);
        }
        return *this;
    }
    ~FileDescriptor() { reset(); }

    int get() const { return descriptor; }
    bool isOpen() const { return descriptor >= 0; }
    /// Gives the descriptor up without closing it.
    int release() { return std::exchange(descriptor, -1); }
    void reset() {
        if (descriptor >= 0) close(std::exchange(descriptor, -1));
    }

private:
    int descriptor = -1;
};

} // namespace vintra

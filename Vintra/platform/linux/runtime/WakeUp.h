#pragma once

#include "Vintra/platform/linux/runtime/FileDescriptor.h"

namespace vintra {

/// A flag that a sleeping thread can wait for together with file descriptors: an eventfd. `set` on any thread
/// and never blocks; the rest belongs to the thread that sleeps.
class WakeUp {
public:
    WakeUp();

    void set() noexcept;
    void clear() noexcept;
    /// Readable while set; -1 if the system had none to give.
    int fileDescriptor() const { return descriptor.get(); }

private:
    FileDescriptor descriptor;
};

} // namespace vintra

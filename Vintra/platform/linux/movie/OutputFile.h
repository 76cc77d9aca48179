#pragma once

#include "Vintra/platform/SystemError.h"
#include "Vintra/platform/URL.h"

#include <cstdint>
#include <span>
#include <vector>

namespace vintra {

/// The one new file that a writer fills. Owned by its writer's file format and used by one thread at a time.
/// Failures are thrown as `SystemError` of the domain "posix", with a sentence that says what to do.
class OutputFile {
public:
    /// Makes the file. Throws if one of the name exists: that one is never opened.
    static OutputFile create(const URL& url);

    /// Opens one that was made before, to go on behind its first `size` bytes: what follows them is cut off.
    static OutputFile reopen(const URL& url, uint64_t size);

    OutputFile(OutputFile&& other) noexcept;
    OutputFile& operator=(OutputFile&&) = delete;
    /// Closes it. What was written stays if the file was kept, and is removed otherwise.
    ~OutputFile();
    /// The file stays from here on.
    void keep() noexcept { isKept = true; }

    void append(std::span<const uint8_t> bytes);
    /// Overwrites bytes that are there already.
    void overwrite(uint64_t offset, std::span<const uint8_t> bytes);
    /// Bytes appended so far. A failed append doesn't count, though part of it may be on the disk.
    uint64_t size() const { return size_; }
    /// Waits until what was written lies on the disk.
    void synchronize();
    /// Cuts off what a failed append left behind `size()`; a failure to do so is of no consequence.
    void dropFailedAppend() noexcept;
    /// Closes it. Throws if the disk only now reports that it couldn't keep the bytes.
    void close();
    const URL& url() const { return url_; }

private:
    OutputFile(URL url, int descriptor);
    void write(uint64_t offset, std::span<const uint8_t> bytes);
    URL url_;
    int descriptor;
    uint64_t size_ = 0;
    bool isKept = false;
};

} // namespace vintra

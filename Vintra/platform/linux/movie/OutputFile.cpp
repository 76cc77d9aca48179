#include "Vintra/platform/linux/movie/OutputFile.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>
#include <utility>

namespace vintra {
namespace {

std::string quoted(const std::string& text) {
    return "“" + text + "”";
}

std::string creationSentence(const URL& url, int code) {
    const std::string name = quoted(url.lastPathComponent());
    const std::string folder = quoted(url.deletingLastPathComponent().path());
    switch (code) {
    case EEXIST:
        return "A file named " + name + " already exists in " + folder +
               ". Choose another name, or move that file away.";
    case ENOENT:
    case ENOTDIR:
        return "The folder " + folder + " doesn't exist. Choose another folder.";
    case EACCES:
    case EPERM:
        return "Files may not be made in the folder " + folder + ". Choose another folder.";
    case EROFS:
        return "The disk of the folder " + folder + " can only be read. Choose another folder.";
    case ENAMETOOLONG:
        return "The name " + name + " is too long. Choose a shorter one.";
    case ENOSPC:
    case EDQUOT:
        return "The disk is full. Free some space, then record again.";
    case EMFILE:
    case ENFILE:
        return "Too many files are open. Close other programs, then record again.";
    default:
        return "The file " + name + " couldn't be made (" + std::strerror(code) + "). Choose another folder.";
    }
}

std::string writingSentence(const URL& url, int code) {
    const std::string name = quoted(url.lastPathComponent());
    switch (code) {
    case ENOSPC:
    case EDQUOT:
        return "The disk became full while " + name +
               " was being written. Free some space, then record again.";
    case EFBIG:
        return "The file " + name +
               " became larger than its disk allows. Record in shorter takes, or choose "
               "a folder on another disk.";
    default:
        return "The file " + name + " couldn't be written (" + std::strerror(code) +
               "). Check its disk, or choose another folder.";
    }
}

} // namespace

OutputFile OutputFile::create(const URL& url) {
    int descriptor;
    do {
        descriptor = ::open(url.path().c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0644);
    } while (descriptor < 0 && errno == EINTR);
    if (descriptor < 0) {
        const int code = errno;
        throw SystemError("posix", code, creationSentence(url, code));
    }
    return OutputFile(url, descriptor);
}

OutputFile OutputFile::reopen(const URL& url, uint64_t size) {
    int descriptor;
    do {
        descriptor = ::open(url.path().c_str(), O_WRONLY | O_CLOEXEC);
    } while (descriptor < 0 && errno == EINTR);
    if (descriptor < 0) {
        const int code = errno;
        throw SystemError("posix", code, writingSentence(url, code));
    }
    OutputFile file(url, descriptor);
    file.size_ = size;
    file.isKept = true; // whatever comes of it: the file was there before
    if (::ftruncate(descriptor, static_cast<off_t>(size)) != 0) {
        const int code = errno;
        throw SystemError("posix", code, writingSentence(url, code));
    }
    return file;
}

OutputFile::OutputFile(URL url, int descriptor)
    : url_(std::move(url))
    , descriptor(descriptor) {}

OutputFile::OutputFile(OutputFile&& other) noexcept
    : url_(std::move(other.url_))
    , descriptor(std::exchange(other.descriptor, -1))
    , size_(other.size_)
    , isKept(std::exchange(other.isKept, true)) {}

OutputFile::~OutputFile() {
    if (!isKept) ::unlink(url_.path().c_str());
    if (descriptor >= 0) ::close(descriptor);
}

void OutputFile::append(std::span<const uint8_t> bytes) {
    write(size_, bytes);
    size_ += bytes.size();
}

void OutputFile::overwrite(uint64_t offset, std::span<const uint8_t> bytes) {
    write(offset, bytes);
}

void OutputFile::write(uint64_t offset, std::span<const uint8_t> bytes) {
    while (!bytes.empty()) {
        const ssize_t written = ::pwrite(descriptor, bytes.data(), bytes.size(), static_cast<off_t>(offset));
        if (written < 0 && errno == EINTR) continue;
        if (written <= 0) {
            const int code = written < 0 ? errno : EIO;
            throw SystemError("posix", code, writingSentence(url_, code));
        }
        offset += static_cast<uint64_t>(written);
        bytes = bytes.subspan(static_cast<size_t>(written));
    }
}

void OutputFile::synchronize() {
    if (::fsync(descriptor) == 0 || errno == EINVAL || errno == EROFS) return;
    const int code = errno;
    throw SystemError("posix", code, writingSentence(url_, code));
}

void OutputFile::dropFailedAppend() noexcept {
    [[maybe_unused]] const int result = ::ftruncate(descriptor, static_cast<off_t>(size_));
}

void OutputFile::close() {
    if (descriptor < 0) return;
    if (::close(std::exchange(descriptor, -1)) != 0 && errno != EINTR) {
        const int code = errno;
        throw SystemError("posix", code, writingSentence(url_, code));
    }
}

} // namespace vintra

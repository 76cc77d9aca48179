#include "Vintra/platform/linux/runtime/PosixError.h"

#include <cerrno>
#include <system_error>

namespace vintra {
namespace {

struct Reason {
    int code;
    const char* text;
};

constexpr Reason kReasons[] = {
    {EACCES, "you have no permission. Change the permissions there or choose another place."},
    {EPERM, "the system doesn't allow it. Change the permissions there or choose another place."},
    {EROFS, "the disk is read-only. Choose a folder on another disk."},
    {ENOSPC, "the disk is full. Free some space on it or choose another disk."},
    {EDQUOT, "your share of the disk is used up. Free some space on it or choose another disk."},
    {ENOENT, "it isn't there. Check the path."},
    {ENOTDIR, "a part of the path is a file, not a folder. Check the path."},
    {EISDIR, "it is a folder. Choose another name."},
    {EEXIST, "something of that name is already there. Choose another name."},
    {ENOTEMPTY, "the folder isn't empty. Move what is in it first."},
    {ENAMETOOLONG, "the name is too long. Choose a shorter one."},
    {ELOOP, "its symbolic links go in a circle. Check the path."},
    {EFBIG, "the file system doesn't hold files of this size. Choose another disk."},
    {EIO, "the disk reported an error. Check the disk, or choose another one."},
    {ENXIO, "the device behind it is gone. Check that the disk is connected."},
    {ENODEV, "the device behind it is gone. Check that the disk is connected."},
    {ESTALE, "the network folder is gone. Connect it again."},
    {EMFILE, "the program has too many files open. Restart it."},
    {ENFILE, "the system has too many files open. Close other programs."},
    {EBUSY, "it is in use. Close the program that uses it."},
    {ETXTBSY, "it is in use. Close the program that uses it."},
    {EXDEV, "the two places are on different disks. Choose a folder on the same disk."},
};

std::string textOf(int code) {
    for (const Reason& reason : kReasons) {
        if (reason.code == code) return reason.text;
    }
    return "the system says “" + std::generic_category().message(code) + "”. Try another place.";
}

} // namespace

SystemError posixError(int code, const std::string& what, const URL& at) {
    std::string sentence = what;
    if (const size_t place = sentence.find("%s"); place != std::string::npos)
        sentence.replace(place, 2, at.path());
    return {"posix", code, sentence + ": " + textOf(code)};
}

} // namespace vintra

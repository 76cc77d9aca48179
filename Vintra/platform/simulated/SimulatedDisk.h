#pragma once

#include "Vintra/platform/SystemError.h"
#include "Vintra/platform/WallClock.h"

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace vintra {

/// What was done to a simulated disk.
enum class SimulatedFileOperation {
    createDirectory,
    createFile,
    removeItem,
    replaceItem,
    openForReading,
    openForWriting,
    read,
    write,
    close,
    writeAtomically,
};

/// One entry of a simulated disk: a folder, a file with its bytes, or a symbolic link.
struct SimulatedDiskItem {
    enum class Kind { folder, file, link };
    Kind kind = Kind::file;
    std::vector<uint8_t> bytes;
    std::string target; ///< of a link
    /// When the bytes last changed, as a test says; nothing if that can't be read.
    std::optional<Date> modified{};
};

/// The content of a simulated disk by normalised absolute path, its faults, and what was done to it. Shared
/// by the file manager and the open files. One real thread.
class SimulatedDisk {
public:
    using Item = std::shared_ptr<SimulatedDiskItem>;
    struct Record {
        SimulatedFileOperation operation;
        std::string path;
        bool operator==(const Record&) const = default;
    };

    SimulatedDisk();

    /// Notes the operation; throws if it is scripted to fail.
    void perform(SimulatedFileOperation operation, const std::string& path);
    /// Puts bytes into the file from the offset on. Throws when the disk is full, after what did fit.
    void write(SimulatedDiskItem& file, uint64_t offset, const uint8_t* bytes, size_t count);
    /// The path with "." and ".." and doubled slashes worked out; a relative one counts from the root.
    static std::string normalised(const std::string& path);
    /// The path with links followed in every part of it; in the last part only if asked for.
    std::string followed(const std::string& path, bool lastPartToo) const;
    /// Null if nothing is there. Links are followed.
    Item find(const std::string& path) const;
    /// Bytes of all files.
    uint64_t usedBytes() const;

    std::map<std::string, Item> items;
    std::set<Item> locked;       ///< files that someone has locked
    std::vector<Record> records; ///< every operation, in order
    /// Script which operations fail, with `EIO`.
    std::function<bool(SimulatedFileOperation, const std::string& path)> fails;
    std::optional<uint64_t> capacityBytes; ///< the disk's size; nothing for an endless one
};

[[noreturn]] void throwDiskError(int code, const std::string& path);

} // namespace vintra

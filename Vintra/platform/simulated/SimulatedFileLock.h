#pragma once

#include "Vintra/platform/FileManager.h"
#include "Vintra/platform/simulated/SimulatedDisk.h"

#include <memory>
#include <utility>

namespace vintra {

/// A lock of a file of the simulated disk. One real thread.
class SimulatedFileLock : public FileLock {
public:
    /// Null if someone has it.
    static std::unique_ptr<SimulatedFileLock> take(std::shared_ptr<SimulatedDisk> disk,
                                                   SimulatedDisk::Item file) {
        if (!disk->locked.insert(file).second) return nullptr;
        return std::unique_ptr<SimulatedFileLock>(new SimulatedFileLock(std::move(disk), std::move(file)));
    }
    ~SimulatedFileLock() override { disk->locked.erase(file); }
    SimulatedFileLock(const SimulatedFileLock&) = delete;
    SimulatedFileLock& operator=(const SimulatedFileLock&) = delete;

private:
    SimulatedFileLock(std::shared_ptr<SimulatedDisk> disk, SimulatedDisk::Item file)
        : disk(std::move(disk))
        , file(std::move(file)) {}

    const std::shared_ptr<SimulatedDisk> disk;
    const SimulatedDisk::Item file;
};

} // namespace vintra

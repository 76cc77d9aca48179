#pragma once

#include "Vintra/platform/FileManager.h"
#include "Vintra/platform/simulated/SimulatedDisk.h"

#include <memory>
#include <string>

namespace vintra {

/// An open file of a simulated disk. It stays with the file that it opened, even if another file replaces it
/// on the disk.
class SimulatedFileHandle : public FileHandle {
public:
    enum class Mode { reading, writing };

    SimulatedFileHandle(std::shared_ptr<SimulatedDisk> disk, SimulatedDisk::Item file, std::string path,
                        Mode mode);

    size_t read(uint8_t* bytes, size_t count) override;
    void write(const uint8_t* bytes, size_t count) override;
    void seek(uint64_t offset) override;
    void close() override;
    void synchronize() override;

private:
    void checkOpen(Mode needed) const;

    std::shared_ptr<SimulatedDisk> disk;
    SimulatedDisk::Item file; ///< null once closed
    std::string path;
    Mode mode;
    uint64_t offset = 0;
};

} // namespace vintra

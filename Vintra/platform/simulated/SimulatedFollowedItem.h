#pragma once

#include "Vintra/platform/FileManager.h"
#include "Vintra/platform/simulated/SimulatedDisk.h"

#include <memory>
#include <optional>
#include <utility>

namespace vintra {

/// An item of the simulated disk, followed by what it is. One real thread.
class SimulatedFollowedItem : public FollowedItem {
public:
    SimulatedFollowedItem(std::shared_ptr<SimulatedDisk> disk, URL foundAt, SimulatedDisk::Item item)
        : disk(std::move(disk))
        , foundAt(std::move(foundAt))
        , item(std::move(item)) {}

    std::optional<URL> currentURL() const override {
        if (disk->find(foundAt.path()) == item) return foundAt;
        for (const auto& [path, candidate] : disk->items) {
            if (candidate == item) return URL::fileURL(path);
        }
        return std::nullopt;
    }

private:
    const std::shared_ptr<SimulatedDisk> disk;
    const URL foundAt;
    const SimulatedDisk::Item item;
};

} // namespace vintra

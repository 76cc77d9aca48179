#pragma once

#include "Vintra/platform/Observation.h"
#include "Vintra/platform/simulated/SimulatedCamera.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace vintra {

/// The cameras that are plugged into a simulated machine; none at the start. One real thread.
class SimulatedCameras {
public:
    /// Adds the camera at the end of the list and tells the observers. It runs at its first format unless one is
    /// set. It can be scripted through the result.
    std::shared_ptr<SimulatedCamera> plug(SimulatedCamera camera);
    /// A camera whose only format is 1920 × 1080 in 420v at up to 30 pictures a second.
    std::shared_ptr<SimulatedCamera> plug(const std::string& uid, const std::string& name);
    /// Puts a camera that was unplugged back, as it was.
    void plugAgain(const std::shared_ptr<SimulatedCamera>& camera);
    /// Takes the camera away: its sessions end.
    void unplug(const std::string& uid);
    /// The plugged-in camera; null if there is none.
    std::shared_ptr<SimulatedCamera> camera(const std::string& uid) const;
    const std::vector<std::shared_ptr<SimulatedCamera>>& all() const { return list; }
    bool contains(const SimulatedCamera& camera) const;

    /// Told of each camera that is plugged in or unplugged, for as long as the result is kept.
    using PlugObserver = std::function<void(const std::shared_ptr<SimulatedCamera>&, bool isThere)>;
    Observation observePlugs(PlugObserver observer);

private:
    void tellOfPlug(const std::shared_ptr<SimulatedCamera>& camera, bool isThere);

    std::vector<std::shared_ptr<SimulatedCamera>> list;
    std::vector<std::weak_ptr<PlugObserver>> plugObservers;
};

} // namespace vintra

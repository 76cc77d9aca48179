#include "Vintra/platform/simulated/SimulatedCameras.h"

#include <algorithm>
#include <utility>

namespace vintra {

std::shared_ptr<SimulatedCamera> SimulatedCameras::plug(SimulatedCamera camera) {
    auto made = std::make_shared<SimulatedCamera>(std::move(camera));
    if (!made->activeFormat && !made->formats.empty()) made->use(made->formats.front());
    plugAgain(made);
    return made;
}

std::shared_ptr<SimulatedCamera> SimulatedCameras::plug(const std::string& uid, const std::string& name) {
    SimulatedCamera camera;
    camera.uid = uid;
    camera.name = name;
    camera.formats = {SimulatedCamera::format(1920, 1080, "420v", 1, 30)};
    return plug(std::move(camera));
}

void SimulatedCameras::plugAgain(const std::shared_ptr<SimulatedCamera>& camera) {
    list.push_back(camera);
    tellOfPlug(camera, true);
}

void SimulatedCameras::unplug(const std::string& uid) {
    const auto gone = camera(uid);
    if (!gone) return;
    std::erase(list, gone);
    tellOfPlug(gone, false);
}

std::shared_ptr<SimulatedCamera> SimulatedCameras::camera(const std::string& uid) const {
    const auto found = std::ranges::find_if(list, [&](const auto& each) { return each->uid == uid; });
    return found == list.end() ? nullptr : *found;
}

bool SimulatedCameras::contains(const SimulatedCamera& camera) const {
    return std::ranges::any_of(list, [&](const auto& each) { return each.get() == &camera; });
}

Observation SimulatedCameras::observePlugs(PlugObserver observer) {
    auto kept = std::make_shared<PlugObserver>(std::move(observer));
    plugObservers.push_back(kept);
    return kept;
}

void SimulatedCameras::tellOfPlug(const std::shared_ptr<SimulatedCamera>& camera, bool isThere) {
    for (const auto& weak : plugObservers) {
        if (const auto observer = weak.lock()) (*observer)(camera, isThere);
    }
    std::erase_if(plugObservers, [](const auto& weak) { return weak.expired(); });
}

} // namespace vintra

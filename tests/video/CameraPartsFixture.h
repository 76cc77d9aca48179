#pragma once

#include "Vintra/platform/simulated/SimulatedMachine.h"
#include "Vintra/video/Cameras.h"

#include <gtest/gtest.h>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace vintra {

/// What the cameras are given by a test without a controller.
struct CameraTestState {
    explicit CameraTestState(const SimulatedMachine& machine)
        : platform(machine.platform())
        , sessionControl(*machine.dispatchQueues, *machine.mainThread) {}

    CameraSurroundings surroundings() {
        return {.platform = platform,
                .selection = selection,
                .sessionControl = sessionControl,
                .isRecording = isRecording,
                .lastError = lastError,
                .accessDenied = "No access.",
                .cannotSetUp = [](std::string name) { return "Not set up: " + std::move(name) + "."; }};
    }

    const Platform platform;
    CameraSelection selection;
    SessionControl sessionControl;
    Published<bool> isRecording{false};
    Published<std::optional<std::string>> lastError;
};

/// The cameras on a simulated machine, without a controller.
class CameraPartsFixture : public testing::Test {
protected:
    void TearDown() override { EXPECT_EQ(machine.violations->list, std::vector<std::string>{}); }

    /// Lists what is plugged in, as the inventory does.
    void list() { state.selection.availableCameraDevices.set(machine.captureDevices->cameras()); }
    std::shared_ptr<SimulatedCamera> plug(const std::string& uid, const std::string& name) {
        auto camera = machine.cameras->plug(uid, name);
        list();
        return camera;
    }
    std::shared_ptr<SimulatedCamera> plug(SimulatedCamera script) {
        auto camera = machine.cameras->plug(std::move(script));
        list();
        return camera;
    }
    void select(const std::optional<std::string>& uid) { selection.selectedCameraDeviceID.set(uid); }
    UUID addRow(const std::optional<std::string>& uid) {
        const UUID id = machine.processInfo->makeUUID();
        selection.extraCameras.update([&](auto& rows) { rows.push_back({.id = id, .deviceID = uid}); });
        return id;
    }
    void removeRow(const UUID& id) {
        selection.extraCameras.update(
            [&](auto& rows) { std::erase_if(rows, [&](const auto& row) { return row.id == id; }); });
    }
    void settle() { machine.run(0.3); }
    std::shared_ptr<SimulatedFloatingPreviewWindow> window(const std::string& name) const {
        return machine.floatingPreviewWindows->window(name);
    }
    std::string lastError() const { return state.lastError->value_or(""); }

    SimulatedMachine machine;
    CameraTestState state{machine};
    CameraSelection& selection = state.selection;
    Cameras cameras{state.surroundings()};
};

} // namespace vintra

#include "Vintra/video/ExtraCameras.h"

#include "Vintra/platform/CaptureAccess.h"
#include "Vintra/video/CameraCaptureChain.h"
#include "Vintra/video/CameraPreviewWindow.h"

#include <algorithm>
#include <set>
#include <utility>
#include <variant>

namespace vintra {

ExtraCameras::ExtraCameras(const CameraSurroundings& surroundings, const CameraFormats& formats,
                           std::shared_ptr<CameraSamplePath> samplePath, std::function<bool()> isHeld)
    : surroundings(surroundings)
    , formats(formats)
    , samplePath(std::move(samplePath))
    , isHeld(std::move(isHeld))
    , tasks(*surroundings.platform.mainThread) {
    surroundings.selection.extraCameras.onChange([this](const auto&) { scheduleReconcile(); });
}

void ExtraCameras::scheduleReconcile() {
    if (std::exchange(isAsked, true) || isRunning) return;
    tasks.post([this] { return runReconciles(); });
}

void ExtraCameras::catchUp() {
    const bool hasEndedOne =
        std::ranges::any_of(extraCameraRigs, [this](const auto& rig) { return !isWanted(rig); });
    if (std::exchange(isOwed, false) || hasEndedOne) scheduleReconcile();
}

/// One that is asked for while another runs comes after it.
Task<> ExtraCameras::runReconciles() {
    isRunning = true;
    while (std::exchange(isAsked, false))
        co_await reconcile();
    isRunning = false;
}

/// A take may begin at each wait.
Task<> ExtraCameras::reconcile() {
    co_await dropUnwanted();
    if (!mustWait() && !missingRows().empty()) co_await addMissing();
    if (!mustWait()) sortRigs();
}

bool ExtraCameras::mustWait() {
    isOwed = isOwed || isHeld();
    return hasEnded || isHeld();
}

Task<> ExtraCameras::addMissing() {
    const Platform& platform = surroundings.platform;
    const bool granted =
        co_await requestAccessIfNeeded(platform.captureDevices, *platform.mainThread, AVMediaType::video);
    const auto rows = missingRows(); // asked again: the wait may have been long
    if (mustWait() || rows.empty()) co_return;
    if (!granted) {
        surroundings.lastError.set(surroundings.accessDenied);
        co_return;
    }
    for (const ExtraCameraConfig& row : rows)
        addRig(row);
}

Task<> ExtraCameras::dropUnwanted() {
    const auto isUnwanted = [this](const ExtraCameraRig& rig) { return !isWanted(rig); };
    while (!mustWait()) {
        const auto gone = std::ranges::find_if(extraCameraRigs, isUnwanted);
        if (gone == extraCameraRigs.end()) co_return;
        ExtraCameraRig rig = std::move(*gone);
        extraCameraRigs.erase(gone);
        co_await takeDown(std::move(rig));
    }
}

/// The tap goes first, so that no frame finds a camera that is being let go.
Task<> ExtraCameras::takeDown(ExtraCameraRig rig) {
    syncTaps();
    rig.capWatcher = nullptr;
    co_await surroundings.sessionControl.stop(rig.session);
    rig.window->close();
}

bool ExtraCameras::isWanted(const ExtraCameraRig& rig) const {
    const auto& rows = *surroundings.selection.extraCameras;
    const auto row = std::ranges::find(rows, rig.configID, &ExtraCameraConfig::id);
    return row != rows.end() && row->deviceID == rig.device->uniqueID() && rig.device->isConnected() &&
           (rig.isStarting || rig.session->isRunning());
}

std::vector<ExtraCameraConfig> ExtraCameras::missingRows() const {
    std::vector<ExtraCameraConfig> rows;
    for (const ExtraCameraConfig& row : *surroundings.selection.extraCameras) {
        const bool hasRig =
            std::ranges::find(extraCameraRigs, row.id, &ExtraCameraRig::configID) != extraCameraRigs.end();
        if (!hasRig && surroundings.selection.availableCamera(row.deviceID)) rows.push_back(row);
    }
    return rows;
}

void ExtraCameras::addRig(const ExtraCameraConfig& row) {
    const Platform& platform = surroundings.platform;
    const auto device = surroundings.selection.availableCamera(row.deviceID);
    const auto queue =
        platform.dispatchQueues->makeSerialQueue("com.screenrecorder.extraCamera." + device->uniqueID());
    auto made = makeCameraCaptureChain(*platform.captureDevices, device, samplePath, queue);
    const std::string& name = device->localizedName();
    if (const auto* const fault = std::get_if<CameraChainFault>(&made)) {
        const std::string part =
            name + (*fault == CameraChainFault::input ? ": it couldn't be added to a capture session"
                                                      : "'s video output");
        surroundings.lastError.set("Couldn't open " + name + ": " + surroundings.cannotSetUp(part));
        return;
    }
    const auto chain = std::get<CameraCaptureChain>(std::move(made));
    extraCameraRigs.push_back({.configID = row.id,
                               .device = device,
                               .session = chain.session,
                               .queue = queue,
                               .tap = std::make_shared<ExtraCameraTap>(chain.dataOutput, platform.hostClock),
                               .window = makeExtraCameraWindow(*device)});
    syncTaps();
    ExtraCameraRig& rig = extraCameraRigs.back();
    rig.capWatcher = formats.holdAndStart(
        chain.session, device, tasks.guarded([this, session = chain.session] { noteStarted(session); }));
    setContent(rig);
    if (surroundings.selection.hiddenExtraCameraPreviews->contains(row.id)) return;
    rig.window->orderFront();
}

void ExtraCameras::noteStarted(const std::shared_ptr<AVCaptureSession>& session) {
    const auto rig = std::ranges::find(extraCameraRigs, session, &ExtraCameraRig::session);
    if (rig != extraCameraRigs.end()) rig->isStarting = false;
}

std::shared_ptr<FloatingPreviewWindow>
ExtraCameras::makeExtraCameraWindow(const AVCaptureVideoDevice& device) const {
    FloatingPreviewWindows& windows = *surroundings.platform.floatingPreviewWindows;
    auto recipe = cameraPreviewRecipe("CameraPreviewWindow-" + device.uniqueID());
    recipe.frame = extraCameraWindowFrame(windows.visibleFrame(), extraCameraRigs.size());
    return windows.makeWindow(recipe);
}

void ExtraCameras::sortRigs() {
    const auto& rows = *surroundings.selection.extraCameras;
    std::ranges::stable_sort(extraCameraRigs, {}, [&rows](const ExtraCameraRig& rig) {
        return std::ranges::find(rows, rig.configID, &ExtraCameraConfig::id) - rows.begin();
    });
    syncTaps();
    auto& hidden = surroundings.selection.hiddenExtraCameraPreviews;
    std::set<UUID> living = *hidden;
    std::erase_if(living, [&rows](const UUID& id) {
        return std::ranges::find(rows, id, &ExtraCameraConfig::id) == rows.end();
    });
    if (living != *hidden) hidden.set(std::move(living));
}

void ExtraCameras::syncTaps() {
    CameraSamplePath::Taps taps;
    for (const ExtraCameraRig& rig : extraCameraRigs)
        taps.push_back(rig.tap);
    samplePath->extraCameraTaps.fill(std::move(taps));
}

void ExtraCameras::holdAnew(const std::string& camera) {
    for (ExtraCameraRig& rig : extraCameraRigs) {
        if (rig.device->uniqueID() != camera) continue;
        rig.capWatcher = nullptr;
        rig.capWatcher = formats.hold(rig.device);
    }
}

Task<> ExtraCameras::end() {
    hasEnded = true;
    while (!extraCameraRigs.empty()) {
        ExtraCameraRig rig = std::move(extraCameraRigs.back());
        extraCameraRigs.pop_back();
        co_await takeDown(std::move(rig));
    }
}

ExtraCameraRig* ExtraCameras::rigOf(const UUID& row) {
    const auto rig = std::ranges::find(extraCameraRigs, row, &ExtraCameraRig::configID);
    return rig == extraCameraRigs.end() ? nullptr : &*rig;
}

/// The window isn't closed, so that the session and its picture go on.
void ExtraCameras::hideExtraCameraPreview(const UUID& row) {
    surroundings.selection.hiddenExtraCameraPreviews.update(
        [&row](std::set<UUID>& hidden) { hidden.insert(row); });
    const ExtraCameraRig* const rig = rigOf(row);
    if (!rig) return;
    rig->window->setAlphaValue(0);
    rig->window->setIgnoresMouseEvents(true);
}

void ExtraCameras::showExtraCameraPreview(const UUID& row) {
    surroundings.selection.hiddenExtraCameraPreviews.update(
        [&row](std::set<UUID>& hidden) { hidden.erase(row); });
    const ExtraCameraRig* const rig = rigOf(row);
    if (!rig) return;
    rig->window->setAlphaValue(1);
    rig->window->setIgnoresMouseEvents(false);
    rig->window->orderFront();
}

void ExtraCameras::resizeExtraCameraWindow(const UUID& row, WebcamPreviewSize to) {
    ExtraCameraRig* const rig = rigOf(row);
    if (!rig) return;
    rig->previewSize = to;
    rig->window->setFrame(resizedFrame(rig->window->frame(), to));
    refreshExtraCameraWindows();
}

void ExtraCameras::refreshExtraCameraWindows() {
    for (const ExtraCameraRig& rig : extraCameraRigs)
        setContent(rig);
}

void ExtraCameras::setContent(const ExtraCameraRig& rig) {
    const UUID row = rig.configID;
    rig.window->setContent(previewContent(
        {.session = rig.session,
         .currentSize = rig.previewSize,
         .isRecording = *surroundings.isRecording,
         .onPick = tasks.guarded([this, row](WebcamPreviewSize to) { resizeExtraCameraWindow(row, to); }),
         .onClose = tasks.guarded([this, row] { hideExtraCameraPreview(row); })}));
}

} // namespace vintra

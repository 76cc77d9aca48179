#include "Vintra/video/FirstCamera.h"

#include "Vintra/platform/CaptureAccess.h"
#include "Vintra/video/CameraPreviewWindow.h"

#include <utility>
#include <variant>

namespace vintra {
namespace {

constexpr const char* kFloatingPreviewName = "WebcamFloatingPreviewWindow";

} // namespace

FirstCamera::FirstCamera(const CameraSurroundings& surroundings, const CameraFormats& formats,
                         std::shared_ptr<CameraSamplePath> samplePath, std::shared_ptr<CameraTap> tap,
                         std::function<bool()> isHeld)
    : surroundings(surroundings)
    , formats(formats)
    , samplePath(std::move(samplePath))
    , tap(std::move(tap))
    , isHeld(std::move(isHeld))
    , webcamOutputQueue(
          surroundings.platform.dispatchQueues->makeSerialQueue("com.screenrecorder.webcamOutput"))
    , tasks(*surroundings.platform.mainThread) {
    CameraSelection& selection = surroundings.selection;
    selection.selectedCameraDeviceID.onChange(
        [this](const auto&) { tasks.post([this] { return configure(); }); });
    selection.webcamPreviewSize.onChange([this](const auto&) { resizeFloatingPreviewWindow(); });
    // Also where it is visible already: it may lie under another window.
    visibleObservation = selection.webcamPreviewVisible.observe([this](bool) { previewVisibleChanged(); });
}

bool FirstCamera::isAlive() const {
    return device_ && device_->isConnected() && (isStarting || chain.session->isRunning());
}

bool FirstCamera::isMissing() const {
    const CameraSelection& selection = surroundings.selection;
    return selection.availableCamera(*selection.selectedCameraDeviceID) && !isAlive();
}

void FirstCamera::catchUp() {
    if (std::exchange(isOwed, false) || (device_ && !isAlive())) tasks.post([this] { return configure(); });
}

Task<> FirstCamera::configure() {
    if (hasEnded) co_return;
    if (isHeld()) {
        isOwed = true;
        co_return;
    }
    ++configuresUnderWay;
    co_await bringInLine();
    --configuresUnderWay;
}

/// Other configures may run at each wait: the last to be asked for sees the newest selection, so that whoever
/// finds a session has nothing left to do.
Task<> FirstCamera::bringInLine() {
    if (const auto old = letGo()) co_await surroundings.sessionControl.stop(old);
    CameraSelection& selection = surroundings.selection;
    const Platform& platform = surroundings.platform;
    if (!selection.availableCamera(*selection.selectedCameraDeviceID)) co_return;
    const bool granted =
        co_await requestAccessIfNeeded(platform.captureDevices, *platform.mainThread, AVMediaType::video);
    const auto device = selection.availableCamera(*selection.selectedCameraDeviceID);
    if (isHeld() || hasEnded || chain.session || !device) co_return;
    if (granted) {
        install(device);
    } else {
        surroundings.lastError.set(surroundings.accessDenied);
    }
}

/// The camera is forgotten before its session has stopped, so that a take that starts meanwhile leaves it alone.
std::shared_ptr<AVCaptureSession> FirstCamera::letGo() {
    capWatcher_ = nullptr;
    samplePath->webcamDataOutput.empty();
    tap->frameSize->set({});
    device_ = nullptr;
    isStarting = false;
    const CameraCaptureChain old = std::exchange(chain, {});
    surroundings.selection.webcamPreviewSession.set(nullptr);
    if (floatingPreviewWindow) floatingPreviewWindow->orderOut();
    return old.session;
}

void FirstCamera::install(const std::shared_ptr<AVCaptureVideoDevice>& device) {
    auto made =
        makeCameraCaptureChain(*surroundings.platform.captureDevices, device, samplePath, webcamOutputQueue);
    if (const auto* const fault = std::get_if<CameraChainFault>(&made)) {
        const std::string name = "the webcam " + device->localizedName();
        surroundings.lastError.set(surroundings.cannotSetUp(
            name + (*fault == CameraChainFault::input ? ": it couldn't be added to a capture session"
                                                      : "'s video output")));
        return;
    }
    chain = std::get<CameraCaptureChain>(std::move(made));
    device_ = device;
    samplePath->webcamDataOutput.fill(chain.dataOutput);
    isStarting = true;
    capWatcher_ = formats.holdAndStart(chain.session, device,
                                       tasks.guarded([this, started = std::weak_ptr(chain.session)] {
                                           if (started.lock() == chain.session) isStarting = false;
                                       }));
    surroundings.selection.webcamPreviewSession.set(chain.session);
    showFloatingPreviewWindow();
}

void FirstCamera::holdAnew() {
    if (!chain.session) return;
    capWatcher_ = nullptr;
    capWatcher_ = formats.hold(device_);
}

Task<> FirstCamera::end() {
    hasEnded = true;
    if (const auto old = letGo()) co_await surroundings.sessionControl.stop(old);
}

void FirstCamera::showFloatingPreviewWindow() {
    if (!floatingPreviewWindow) {
        floatingPreviewWindow = surroundings.platform.floatingPreviewWindows->makeWindow(
            cameraPreviewRecipe(kFloatingPreviewName));
    }
    refreshFloatingPreviewContent();
    if (!floatingPreviewWindow->hasSavedFrame()) resizeFloatingPreviewWindow();
    Published<bool>& isVisible = surroundings.selection.webcamPreviewVisible;
    if (*isVisible) {
        floatingPreviewWindow->orderFront();
    } else {
        isVisible.set(true); // which orders it to the front
    }
}

void FirstCamera::resizeFloatingPreviewWindow() {
    if (!floatingPreviewWindow) return;
    floatingPreviewWindow->setFrame(
        resizedFrame(floatingPreviewWindow->frame(), *surroundings.selection.webcamPreviewSize));
    refreshFloatingPreviewContent();
}

void FirstCamera::previewVisibleChanged() {
    if (!floatingPreviewWindow) return;
    if (*surroundings.selection.webcamPreviewVisible && chain.session) {
        floatingPreviewWindow->orderFront();
    } else {
        floatingPreviewWindow->orderOut();
    }
}

void FirstCamera::refreshFloatingPreviewContent() {
    if (!floatingPreviewWindow) return;
    CameraSelection& selection = surroundings.selection;
    floatingPreviewWindow->setContent(previewContent(
        {.session = chain.session,
         .currentSize = *selection.webcamPreviewSize,
         .isRecording = *surroundings.isRecording,
         .onPick = [&selection](WebcamPreviewSize size) { selection.webcamPreviewSize.set(size); },
         .onClose = [&selection] { selection.webcamPreviewVisible.set(false); }}));
}

} // namespace vintra

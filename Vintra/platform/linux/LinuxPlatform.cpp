#include "Vintra/platform/linux/LinuxPlatform.h"

#include "Vintra/platform/CaptureOverlayWindows.h"
#include "Vintra/platform/EventLoop.h"
#include "Vintra/platform/FloatingPreviewWindows.h"
#include "Vintra/platform/SystemError.h"
#include "Vintra/platform/linux/OthersOutputs.h"
#include "Vintra/platform/linux/camera/PipeWireCameras.h"
#include "Vintra/platform/linux/camera/SoundAndCameraDevices.h"
#include "Vintra/platform/linux/files/CrashSafeUserDefaults.h"
#include "Vintra/platform/linux/files/LinuxFileManager.h"
#include "Vintra/platform/linux/files/LinuxUserDefaults.h"
#include "Vintra/platform/linux/files/LinuxWorkspace.h"
#include "Vintra/platform/linux/files/MemoryUserDefaults.h"
#include "Vintra/platform/linux/files/UserDirectories.h"
#include "Vintra/platform/linux/movie/LibavRateConversion.h"
#include "Vintra/platform/linux/movie/LinuxAssetProbing.h"
#include "Vintra/platform/linux/movie/LinuxAssetWriters.h"
#include "Vintra/platform/linux/pipewire/PipeWireAudioHardware.h"
#include "Vintra/platform/linux/pipewire/PipeWireCaptureDevices.h"
#include "Vintra/platform/linux/pipewire/PipeWireConnection.h"
#include "Vintra/platform/linux/pipewire/PipeWireDeviceIO.h"
#include "Vintra/platform/linux/runtime/CoreDumps.h"
#include "Vintra/platform/linux/runtime/CrashReporter.h"
#include "Vintra/platform/linux/runtime/LinuxDispatchQueues.h"
#include "Vintra/platform/linux/runtime/LinuxHostClock.h"
#include "Vintra/platform/linux/runtime/LinuxLog.h"
#include "Vintra/platform/linux/runtime/LinuxProcessInfo.h"
#include "Vintra/platform/linux/runtime/LinuxWallClock.h"
#include "Vintra/platform/linux/runtime/OperatingSystem.h"
#include "Vintra/platform/linux/wayland/NoWindowList.h"
#include "Vintra/platform/linux/wayland/WaylandOutputs.h"
#include "Vintra/platform/linux/wayland/WaylandScreenCapture.h"
#include "Vintra/platform/linux/wayland/WaylandScreens.h"
#include "Vintra/platform/linux/wayland/WaylandWindowQuestion.h"
#include "Vintra/platform/linux/x11/X11ScreenCapture.h"
#include "Vintra/platform/linux/x11/X11Screens.h"
#include "Vintra/platform/linux/x11/X11WindowList.h"

#include <cstdlib>
#include <filesystem>
#include <string_view>
#include <system_error>

namespace vintra {
namespace {

/// Milliseconds: more than another program needs for its start, in which it holds the claim to see to what a crash
/// may have left.
constexpr int kPatienceWithAnotherStart = 1000;

std::string_view environment(const char* name) {
    const char* const value = std::getenv(name);
    return value ? value : "";
}

/// WAYLAND_DISPLAY, or XDG_SESSION_TYPE where a service doesn't inherit the former, says that there is a
/// Wayland desktop; it must also be there, so that a stale variable doesn't hide an X server. An X server
/// beside it serves the desktop's X programs and shows their windows alone.
bool isWaylandSession() {
    const bool isSaid =
        !environment("WAYLAND_DISPLAY").empty() || environment("XDG_SESSION_TYPE") == "wayland";
    return isSaid && isWaylandReachable();
}

void addScreenServices(Platform& services, EventLoop& eventLoop) {
    services.captureOverlayWindows = std::make_shared<NoCaptureOverlayWindows>();
    services.floatingPreviewWindows = std::make_shared<NoFloatingPreviewWindows>();
    if (isWaylandSession()) {
        const auto question = std::make_shared<WaylandWindowQuestion>(WaylandDesktop{}, services.mainThread);
        services.windowQuestion = question;
        services.screenCapture = std::make_shared<WaylandScreenCapture>(WaylandDesktop{}, question);
        services.screens = std::make_shared<WaylandScreens>(std::string(), eventLoop);
        services.windowList = std::make_shared<NoWindowList>();
    } else {
        services.windowQuestion = std::make_shared<NoWindowQuestion>();
        services.screenCapture = std::make_shared<X11ScreenCapture>();
        services.screens = std::make_shared<X11Screens>(services.mainThread);
        services.windowList = std::make_shared<X11WindowList>();
    }
}

std::string clicksNotTold() {
    if (isWaylandSession()) {
        return "Show mouse clicks shows nothing on this desktop: Wayland tells no program of clicks in others. Log in "
               "to an X11 session to record clicks.";
    }
    return "Show mouse clicks needs the XInput 2 extension to detect clicks, which this X server doesn't have. Log in "
           "to another session to record clicks.";
}

MachineWords machineWords(const OperatingSystem& system, const FileManager& files) {
    const URL settings = LinuxUserDefaults::standardFile(files).deletingLastPathComponent();
    return {.computer = "computer",
            .operatingSystem = system.name,
            .fileBrowser = "Files",
            .microphoneSettings = "the desktop's settings",
            .cameraSettings = "the desktop's settings",
            .soundSettings = "the desktop's sound settings",
            .pasteKeys = "Ctrl+V",
            .clicksNotTold = clicksNotTold(),
            .terminal = "a terminal",
            .clearSettingsCommand = "rm -r '" + settings.path() + "'",
            .includedWork = "libraries by others",
            .programRemovalPlace = "the desktop's software manager"};
}

/// A program runs without as well.
void reportCrashes(const Platform& services) {
    const MachineFacts& facts = services.facts;
    try {
        CrashReporter::install(services.crashReports.folder,
                               {.name = "Vintra",
                                .version = facts.appVersion + " (build " + facts.buildVersion + ")",
                                .machine = services.words.operatingSystem + " " +
                                           facts.operatingSystemVersion + " · " + facts.hardwareModel});
    } catch (const SystemError& error) {
        services.log->write("crash", LogLevel::error,
                            "crashes won't be reported: " + error.localizedDescription());
    }
}

std::shared_ptr<UserDefaults> makeUserDefaults(const Platform& services, bool inMemory) {
    if (inMemory) return std::make_shared<MemoryUserDefaults>();
    return std::make_shared<LinuxUserDefaults>(
        LinuxUserDefaults::standardFile(*services.fileManager),
        LinuxUserDefaults::Services{.fileManager = services.fileManager,
                                    .dispatchQueues = services.dispatchQueues,
                                    .log = services.log});
}

} // namespace

LinuxPlatform LinuxPlatform::make(std::shared_ptr<EventLoop> eventLoop, Settings settings) {
    LinuxPlatform machine;
    const auto connection = std::make_shared<PipeWireConnection>();
    Platform& services = machine.services;
    services.hostClock = std::make_shared<LinuxHostClock>();
    services.wallClock = std::make_shared<LinuxWallClock>();
    services.mainThread = eventLoop;
    services.dispatchQueues = std::make_shared<LinuxDispatchQueues>();
    services.log = std::make_shared<LinuxLog>(settings.logLevel);
    services.fileManager = std::make_shared<LinuxFileManager>();
    services.processInfo = std::make_shared<LinuxProcessInfo>();
    services.assetWriters = std::make_shared<LinuxAssetWriters>();
    services.rateConversion = std::make_shared<LibavRateConversion>();
    machine.captureDevices = std::make_shared<PipeWireCaptureDevices>(connection, eventLoop, services.log);
    services.captureDevices = std::make_shared<SoundAndCameraDevices>(
        machine.captureDevices, PipeWireCameras::make(connection, eventLoop, services.log));
    services.audioDeviceIO = std::make_shared<PipeWireDeviceIO>(connection, services.log);
    const OperatingSystem system = operatingSystem();
    services.words = machineWords(system, *services.fileManager);
    services.facts = {.appVersion = VINTRA_VERSION,
                      .buildVersion = VINTRA_BUILD,
                      .operatingSystemVersion = system.version,
                      .hardwareModel = hardwareModel()};
    services.crashReports = {
        .folder =
            userStateDirectory().appendingPathComponent("vintra").appendingPathComponent("crash-reports"),
        .pathExtension = CrashReporter::kPathExtension};
    if (settings.reportsCrashes) {
        services.crashReports.gather = [folder = services.crashReports.folder] {
            std::error_code error;
            const auto self = std::filesystem::read_symlink("/proc/self/exe", error);
            if (!error) CoreDumps::gather(folder, "Vintra", self.string());
        };
    }
    if (settings.reportsCrashes) reportCrashes(services);
    addScreenServices(services, *eventLoop);
    services.audioHardware = std::make_shared<PipeWireAudioHardware>(connection, eventLoop);
    services.assetProbing = std::make_shared<LinuxAssetProbing>();
    services.workspace = std::make_shared<LinuxWorkspace>();
    services.userDefaults = makeUserDefaults(services, settings.keepsSettingsInMemory);
    if (!settings.outputToPutBackKey.empty()) machine.claimSoundRouting(settings.outputToPutBackKey);
    return machine;
}

void LinuxPlatform::claimSoundRouting(const std::string& outputToPutBackKey) {
    routesSound = soundRouting.take(kPatienceWithAnotherStart);
    if (routesSound) {
        services.userDefaults = std::make_shared<CrashSafeUserDefaults>(
            services.userDefaults, outputToPutBackKey,
            CrashSafeUserDefaults::standardFile(outputToPutBackKey), services.log);
    } else {
        services.audioHardware = std::make_shared<OthersOutputs>(services.audioHardware);
    }
}

LinuxOverlays LinuxPlatform::makeOverlays(EventLoop& eventLoop, OverlayPainter& painter) const {
    if (isWaylandSession()) return LinuxOverlays::ofWayland(eventLoop, painter, WaylandDesktop{});
    return LinuxOverlays::ofX11(eventLoop, painter);
}

bool LinuxPlatform::namesWindows() const {
    return dynamic_cast<const NoWindowList*>(services.windowList.get()) == nullptr;
}

} // namespace vintra

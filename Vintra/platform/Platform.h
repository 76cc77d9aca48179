#pragma once

#include "Vintra/platform/CrashReportFolder.h"
#include "Vintra/platform/MachineFacts.h"
#include "Vintra/platform/MachineWords.h"

#include <memory>

namespace vintra {

class AssetProbing;
class AssetWriters;
class AudioDeviceIO;
class AudioHardware;
class CaptureDevices;
class CaptureOverlayWindows;
class DispatchQueues;
class FileManager;
class FloatingPreviewWindows;
class HostClock;
class Log;
class MainThread;
class ProcessInfo;
class RateConversion;
class ScreenCapture;
class Screens;
class UserDefaults;
class WallClock;
class WindowList;
class WindowQuestion;
class Workspace;

/// Every service of the machine, built once by a `main` or a test and handed down. None is null. A test takes
/// the simulated bundle and replaces one service. Services outlive everything that is handed the bundle.
struct Platform {
    std::shared_ptr<HostClock> hostClock;
    std::shared_ptr<WallClock> wallClock;
    std::shared_ptr<MainThread> mainThread;
    std::shared_ptr<DispatchQueues> dispatchQueues;
    std::shared_ptr<Log> log;
    std::shared_ptr<UserDefaults> userDefaults;
    std::shared_ptr<FileManager> fileManager;
    std::shared_ptr<ProcessInfo> processInfo;
    std::shared_ptr<AssetWriters> assetWriters;
    std::shared_ptr<RateConversion> rateConversion;
    std::shared_ptr<CaptureDevices> captureDevices;
    std::shared_ptr<ScreenCapture> screenCapture;
    std::shared_ptr<Screens> screens;
    std::shared_ptr<CaptureOverlayWindows> captureOverlayWindows;
    std::shared_ptr<FloatingPreviewWindows> floatingPreviewWindows;
    std::shared_ptr<WindowList> windowList;
    std::shared_ptr<WindowQuestion> windowQuestion;
    std::shared_ptr<AudioHardware> audioHardware;
    std::shared_ptr<AudioDeviceIO> audioDeviceIO;
    std::shared_ptr<AssetProbing> assetProbing;
    std::shared_ptr<Workspace> workspace;
    MachineWords words;
    MachineFacts facts;
    CrashReportFolder crashReports;
};

} // namespace vintra

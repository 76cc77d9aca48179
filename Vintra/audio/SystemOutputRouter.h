#pragma once

#include "Vintra/platform/AudioHardware.h"
#include "Vintra/platform/Platform.h"
#include "Vintra/platform/Task.h"
#include "Vintra/platform/UserDefaults.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace vintra {

/// Which device the system plays to, and how the user's own device becomes the default again.
///
/// While the computer's sound is captured the default output is the virtual device, which plays nothing. A
/// crash would leave it there: so the device to return to is on disk before the default is changed, and stays
/// there for as long as routing is held. Any thread may read; the functions that touch the settings belong to
/// the main thread.
namespace SystemOutputRouter {

/// The loopback device that stands beside the program.
inline constexpr const char* virtualDeviceUID = "VintraAudioDevice";
/// The setting that holds the uid of the device to return to.
inline constexpr const char* kPendingRestoreKey = "systemOutputPendingRestoreUID";

struct Services {
    AudioHardware& hardware;
    UserDefaults& userDefaults;
};

struct Output {
    std::string uid;
    std::string name;
    bool operator==(const Output&) const = default;
};

/// An output that was found on the silent device at launch and has been moved back.
struct DeadEndRepair {
    std::string deviceName; ///< where it is now
    bool wasOurs = false;   ///< it is the device that this program had noted as the user's
    bool operator==(const DeadEndRepair&) const = default;
};

/// Empty on any failure.
std::vector<AudioObjectID> allDevices(const AudioHardware& hardware);
std::optional<std::string> name(const AudioHardware& hardware, AudioObjectID of);
std::optional<std::string> uid(const AudioHardware& hardware, AudioObjectID of);
std::optional<AudioObjectID> deviceID(const AudioHardware& hardware, const std::string& forUID);
/// The devices that the user may hear the computer's sound on, in the system's order.
std::vector<Output> availableOutputs(const AudioHardware& hardware);

/// What comes before the virtual device is made the default output: notes the device that is. That device;
/// nothing, and no note, if there is no virtual device, if it is the default already, or if the default can't
/// be read.
std::optional<AudioObjectID> noteWayBack(Services services);
/// Makes the virtual device the default output. The previous one; nothing if there is no virtual device, if
/// it is the default already or if the system refuses.
std::optional<AudioObjectID> switchToVirtualDevice(Services services);
/// Notes the device as the one to return to, unless it is the virtual one.
void noteRestoreTarget(Services services, AudioObjectID device);
/// Makes the device, or the noted one if there is none, the default output. Nothing is noted afterwards.
void restore(Services services, std::optional<AudioObjectID> to);

/// Makes the first device that can be heard and that the system takes the default output: where alerts go, the
/// built-in one, any. That device; nothing if there is none.
std::optional<AudioObjectID> moveToAnyOutput(AudioHardware& hardware);

/// For a launch, before a relay can run: moves a default output that was left on the virtual device to the
/// noted device, or to another that can be heard. The devices are read and set on a background queue.
Task<std::optional<DeadEndRepair>> repairDeadEndOutput(Platform platform);

} // namespace SystemOutputRouter

} // namespace vintra

#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace vintra {

class PipeWireConnection;
class PipeWireMetadata;
struct PipeWireChange;

/// Which sink programs play to: PipeWire's `default` metadata. Owned by the audio hardware. Any thread.
///
/// Goal: lend the default output to the virtual device and give it back exactly as the user had it, also
/// after a crash, and also where the user has chosen nothing and the session manager picks a device.
/// Constraint: what the user has chosen (default.configured.audio.sink) is kept by the session manager from
/// one login to the next, together with every device that was chosen before. A virtual device written there
/// once becomes the default again, silent, on the day when the headphones are unplugged.
/// Method: the user's choice is left alone. The virtual device is written to the key that tells what is in
/// force (default.audio.sink), which programs, streams and mixers follow, and which the session manager
/// writes only when its own opinion changes. Beforehand the device that was in force goes to a key of ours in
/// the same table, which stays in the server when this process is killed; handing the default back to that
/// device undoes both. Any other device is configured as if the user had chosen it.
///
/// While this process holds the default, a user's choice ends the hold and takes effect. A session manager's
/// own idea does not, unless the device before has gone: then the hold is over.
class PipeWireDefaultOutput {
public:
    explicit PipeWireDefaultOutput(std::shared_ptr<PipeWireConnection> connection);
    ~PipeWireDefaultOutput();
    PipeWireDefaultOutput(const PipeWireDefaultOutput&) = delete;
    PipeWireDefaultOutput& operator=(const PipeWireDefaultOutput&) = delete;

    /// The sink in force; 0 if there is none.
    uint32_t device() const;
    /// PipeWire knows no other device for alerts. This is the real one of the user's: the default output
    /// where that is not the virtual device, else the one that was before it, else the sink with the highest
    /// priority.session. 0 if there is none.
    uint32_t realDevice() const;
    /// True once the device is in force, which takes a second at most.
    bool setDevice(uint32_t number);

private:
    PipeWireMetadata* table() const;
    std::optional<std::string> effectiveName() const;
    bool holdVirtualDevice(PipeWireMetadata& defaults);
    void giveUpHold();
    void release(PipeWireMetadata& defaults, const std::string& name);
    void changed(const PipeWireChange& change);

    const std::shared_ptr<PipeWireConnection> connection;
    std::shared_ptr<void> observation;
    bool isHolding = false; ///< by this process; under the loop's lock
};

} // namespace vintra

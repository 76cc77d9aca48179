#pragma once

#include "Vintra/platform/linux/pipewire/PipeWireTimer.h"

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
/// own idea does not, unless the device before has gone: then the hold is over. The table is the session
/// manager's, so one that is started anew brings a new table, without our key and with the choice that it has
/// kept: both are known from before. Some of what others write while it begins is lost, so what isn't
/// confirmed is written again. Who insists on another device for longer than that has his way: the hold is over.
///
/// The end of the server ends the hold: there is nobody left to lend anything.
///
/// A connection may be of no use any more just when the output is to be given back, as after the program has run out
/// of file descriptors. Then it is given back over a connection of its own.
class PipeWireDefaultOutput {
public:
    /// When a hold that is overruled again and again is given up: after so many times, or, of somebody who takes it
    /// slower, after some times and a while. Nothing for that while is the end of a dispute.
    struct Patience {
        int mostTimes = 50;
        int someTimes = 10;
        double seconds = 10;
    };

    explicit PipeWireDefaultOutput(std::shared_ptr<PipeWireConnection> connection);
    PipeWireDefaultOutput(std::shared_ptr<PipeWireConnection> connection, Patience patience);
    ~PipeWireDefaultOutput();
    PipeWireDefaultOutput(const PipeWireDefaultOutput&) = delete;
    PipeWireDefaultOutput& operator=(const PipeWireDefaultOutput&) = delete;

    /// The sink in force; 0 if there is none. While this process holds the default that is the virtual device, also
    /// while a session manager with another idea is being put right.
    uint32_t device() const;
    /// PipeWire knows no other device for alerts. This is the real one of the user's: the default output
    /// where that is not the virtual device, else the one that was before it, else the sink with the highest
    /// priority.session. 0 if there is none.
    uint32_t realDevice() const;
    /// True once the device is in force, which takes a second at most.
    bool setDevice(uint32_t number);
    /// Whether the latest hold was given up because somebody insisted on another device.
    bool isContested() const;

private:
    /// Of the default output, by this process.
    struct Hold {
        std::optional<std::string> before;     ///< what was in force
        std::optional<std::string> configured; ///< what the user had chosen
        int unconfirmed = 0;                   ///< times in a row that it was written again
        int overruled = 0;                     ///< times in this dispute
        int64_t overruledSince = 0;            ///< when it began
        int64_t overruledLast = 0;
        bool hasBegun = false; ///< it has been in force
    };
    /// To a device that isn't the virtual one.
    struct Release {
        std::string name;
        bool isConfigured = false; ///< as if the user had chosen it
    };

    bool setHere(uint32_t number);
    bool giveBackAnew(const std::string& name) const;
    bool isGone(const std::optional<std::string>& device) const;
    static void say(const Hold& begun, PipeWireMetadata& defaults);
    Release releaseTo(const std::string& name) const;
    static void say(const Release& release, PipeWireMetadata& defaults);
    PipeWireMetadata* table() const;
    std::optional<std::string> effectiveName() const;
    Hold holdOf(PipeWireMetadata& defaults, bool isRenewed) const;
    void giveUpHold();
    void loseHold();
    void changed(const PipeWireChange& change);
    void choiceTold(PipeWireMetadata& defaults);
    void effectiveTold(PipeWireMetadata& defaults);
    bool hasLostPatience();
    void insist();

    const std::shared_ptr<PipeWireConnection> connection;
    const Patience patience;
    std::shared_ptr<void> observation;
    std::optional<Hold> hold;  ///< under the loop's lock
    bool wasContested = false; ///< likewise
    std::unique_ptr<PipeWireTimer> reminder;
};

} // namespace vintra

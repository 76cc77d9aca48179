#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

struct spa_dict;
struct spa_pod;

namespace vintra {

/// The node.name of the virtual device: a sink that the computer's sound is sent to and that is recorded
/// from.
inline constexpr const char* kVirtualAudioDeviceName = "VintraAudioDevice";

enum class PipeWireNodeKind {
    source,
    sink,
    duplex ///< one node that both plays and listens
};

/// The sound format that a node runs at or offers first.
struct PipeWireAudioFormat {
    uint32_t sampleRate = 0;         ///< hertz; 0: not said
    uint32_t channels = 0;           ///< 0: not said
    std::vector<uint32_t> positions; ///< an spa_audio_channel each; empty: not said
    bool operator==(const PipeWireAudioFormat&) const = default;
};

/// A sound device as PipeWire shows it: a node that is a source or a sink, or both. A value.
struct PipeWireNode {
    uint32_t globalID =
        0;            ///< of the object in the server, which reuses the numbers of objects that have ended
    std::string name; ///< node.name: what the device is known by from one run to the next
    std::string description; ///< as the user knows it
    PipeWireNodeKind kind = PipeWireNodeKind::source;
    PipeWireAudioFormat format;
    int32_t sessionPriority = 0; ///< priority.session: of several sinks the highest is the automatic choice
    bool isBuiltIn = false;
    std::string linkGroup; ///< node.link-group: of the nodes that one filter consists of; mostly empty
    std::vector<float> channelVolumes; ///< factors, as the volume control has them; empty: not said
    bool isMuted = false;
    bool operator==(const PipeWireNode&) const = default;

    /// Sources are inputs, and the virtual device is one through its monitor: what is played to it is
    /// recorded from it. Other sinks' monitors are not listed.
    bool isInput() const { return kind != PipeWireNodeKind::sink || name == kVirtualAudioDeviceName; }
    bool isOutput() const { return kind != PipeWireNodeKind::source; }
    /// The one that belongs to the program and plays nothing.
    bool isVirtualDevice() const { return name == kVirtualAudioDeviceName; }
    /// For session managers a sink, and to be asked for as one: recorded from its monitor or, a duplex node, from its
    /// own outputs.
    bool isSink() const { return kind != PipeWireNodeKind::source; }
};

/// What a media.class stands for; nothing for classes that are no sound device.
std::optional<PipeWireNodeKind> pipeWireNodeKind(const char* mediaClass);

/// Of an EnumFormat or Format parameter; nothing if it isn't raw sound. Where it leaves a choice, the
/// default.
std::optional<PipeWireAudioFormat> pipeWireAudioFormat(const spa_pod* parameter);

/// Whether the device is part of the computer: a sound chip that ALSA finds on the PCI bus or soldered to the
/// board, except its HDMI outputs, or a device that calls itself internal.
bool isBuiltIn(const spa_dict* properties);

/// What a Props parameter says of the volume control; false if it says nothing.
bool readVolume(const spa_pod* parameter, PipeWireNode& of);

/// What a node's properties say of its format.
PipeWireAudioFormat pipeWireAudioFormat(const spa_dict* properties);

/// The first, with what it doesn't say taken from the second.
PipeWireAudioFormat completed(PipeWireAudioFormat format, const PipeWireAudioFormat& by);

} // namespace vintra

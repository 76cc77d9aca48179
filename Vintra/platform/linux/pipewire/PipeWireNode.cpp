#include "Vintra/platform/linux/pipewire/PipeWireNode.h"

#include <spa/param/audio/raw.h>
#include <spa/param/format-utils.h>
#include <spa/param/props.h>
#include <spa/pod/iter.h>
#include <spa/utils/dict.h>

#include <pipewire/keys.h>

#include <charconv>
#include <cstring>
#include <string_view>

namespace vintra {
namespace {

/// The value of a property, or the default of its choice; 0 if there is none.
uint32_t integerProperty(const spa_pod* parameter, uint32_t key) {
    const spa_pod_prop* property = spa_pod_find_prop(parameter, nullptr, key);
    if (property == nullptr) return 0;
    uint32_t count = 0;
    uint32_t choice = 0;
    const spa_pod* values = spa_pod_get_values(&property->value, &count, &choice);
    if (count == 0 || values->type != SPA_TYPE_Int || values->size < sizeof(int32_t)) return 0;
    int32_t first = 0;
    std::memcpy(&first, SPA_POD_BODY_CONST(values), sizeof first);
    return first > 0 ? static_cast<uint32_t>(first) : 0;
}

uint32_t number(const char* text) {
    if (text == nullptr) return 0;
    uint32_t value = 0;
    std::from_chars(text, text + std::strlen(text), value);
    return value;
}

std::string_view text(const spa_dict* properties, const char* key) {
    const char* value = spa_dict_lookup(properties, key);
    return value != nullptr ? value : "";
}

} // namespace

bool isBuiltIn(const spa_dict* properties) {
    if (properties == nullptr) return false;
    if (text(properties, PW_KEY_DEVICE_FORM_FACTOR) == "internal") return true;
    // A node has its bus in its properties or, as session managers name it, in its name.
    const std::string_view name = text(properties, PW_KEY_NODE_NAME);
    const std::string_view bus = text(properties, PW_KEY_DEVICE_BUS);
    const auto isNamed = [name](std::string_view kind) {
        return name.starts_with("alsa_output." + std::string(kind)) ||
               name.starts_with("alsa_input." + std::string(kind));
    };
    const bool isOnBoard =
        bus == "pci" || bus == "platform" || (bus.empty() && (isNamed("pci-") || isNamed("platform-")));
    const bool isALSA = text(properties, PW_KEY_DEVICE_API) == "alsa";
    const bool isHDMI = name.find("hdmi") != std::string_view::npos;
    return isALSA && isOnBoard && !isHDMI;
}

std::optional<PipeWireNodeKind> pipeWireNodeKind(const char* mediaClass) {
    if (mediaClass == nullptr) return std::nullopt;
    const std::string_view name = mediaClass;
    if (name == "Audio/Source" || name == "Audio/Source/Virtual") return PipeWireNodeKind::source;
    if (name == "Audio/Sink") return PipeWireNodeKind::sink;
    if (name == "Audio/Duplex") return PipeWireNodeKind::duplex;
    return std::nullopt;
}

std::optional<PipeWireAudioFormat> pipeWireAudioFormat(const spa_pod* parameter) {
    uint32_t mediaType = 0;
    uint32_t mediaSubtype = 0;
    if (parameter == nullptr || spa_format_parse(parameter, &mediaType, &mediaSubtype) < 0)
        return std::nullopt;
    if (mediaType != SPA_MEDIA_TYPE_audio || mediaSubtype != SPA_MEDIA_SUBTYPE_raw) return std::nullopt;
    PipeWireAudioFormat format;
    format.sampleRate = integerProperty(parameter, SPA_FORMAT_AUDIO_rate);
    format.channels = integerProperty(parameter, SPA_FORMAT_AUDIO_channels);
    if (const spa_pod_prop* positions = spa_pod_find_prop(parameter, nullptr, SPA_FORMAT_AUDIO_position)) {
        // In a format that has been agreed on the array stands inside a choice of one.
        uint32_t values = 0;
        uint32_t choice = 0;
        const spa_pod* array = spa_pod_get_values(&positions->value, &values, &choice);
        uint32_t read[SPA_AUDIO_MAX_CHANNELS];
        const uint32_t count = spa_pod_is_array(array)
                                   ? spa_pod_copy_array(array, SPA_TYPE_Id, read, SPA_AUDIO_MAX_CHANNELS)
                                   : 0;
        if (count > 0 && count == format.channels) format.positions.assign(read, read + count);
    }
    return format;
}

bool readVolume(const spa_pod* parameter, PipeWireNode& of) {
    if (parameter == nullptr || !spa_pod_is_object_type(parameter, SPA_TYPE_OBJECT_Props)) return false;
    const spa_pod_prop* volumes = spa_pod_find_prop(parameter, nullptr, SPA_PROP_channelVolumes);
    const spa_pod_prop* mute = spa_pod_find_prop(parameter, nullptr, SPA_PROP_mute);
    float read[SPA_AUDIO_MAX_CHANNELS];
    const uint32_t count =
        volumes != nullptr && spa_pod_is_array(&volumes->value)
            ? spa_pod_copy_array(&volumes->value, SPA_TYPE_Float, read, SPA_AUDIO_MAX_CHANNELS)
            : 0;
    if (count == 0) return false;
    of.channelVolumes.assign(read, read + count);
    bool isMuted = false;
    of.isMuted = mute != nullptr && spa_pod_get_bool(&mute->value, &isMuted) == 0 && isMuted;
    return true;
}

PipeWireAudioFormat pipeWireAudioFormat(const spa_dict* properties) {
    PipeWireAudioFormat format;
    if (properties == nullptr) return format;
    format.sampleRate = number(spa_dict_lookup(properties, PW_KEY_AUDIO_RATE));
    format.channels = number(spa_dict_lookup(properties, PW_KEY_AUDIO_CHANNELS));
    return format;
}

PipeWireAudioFormat completed(PipeWireAudioFormat format, const PipeWireAudioFormat& by) {
    if (format.sampleRate == 0) format.sampleRate = by.sampleRate;
    if (format.channels == 0) format.channels = by.channels;
    if (format.positions.empty() && by.positions.size() == format.channels) format.positions = by.positions;
    return format;
}

} // namespace vintra

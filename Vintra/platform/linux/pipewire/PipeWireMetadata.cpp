#include "Vintra/platform/linux/pipewire/PipeWireMetadata.h"

#include "Vintra/platform/linux/pipewire/PipeWireLoop.h"

#include <pipewire/extensions/metadata.h>
#include <pipewire/pipewire.h>
#include <spa/utils/json.h>

#include <charconv>
#include <string_view>
#include <utility>

namespace vintra {
namespace {

constexpr uint32_t kWholeServer = 0; ///< the subject of what concerns no single object

pw_metadata* metadata(pw_proxy* proxy) {
    return reinterpret_cast<pw_metadata*>(proxy);
}

} // namespace

struct PipeWireMetadata::Events {
    static int property(void* data, uint32_t subject, const char* key, const char*, const char* value) {
        static_cast<PipeWireMetadata*>(data)->property(subject, key, value);
        return 0;
    }
    static constexpr pw_metadata_events table = [] {
        pw_metadata_events events{};
        events.version = PW_VERSION_METADATA_EVENTS;
        events.property = property;
        return events;
    }();
};

PipeWireMetadata::PipeWireMetadata(PipeWireLoop& loop, pw_proxy* proxy, std::string name,
                                   ChangeHandler changed)
    : loop(loop)
    , proxy(proxy)
    , name_(std::move(name))
    , changed(std::move(changed))
    , hook(std::make_unique<spa_hook>()) {
    pw_metadata_add_listener(metadata(proxy), hook.get(), &Events::table, this);
}

PipeWireMetadata::~PipeWireMetadata() {
    spa_hook_remove(hook.get());
    pw_proxy_destroy(proxy);
}

std::optional<std::string> PipeWireMetadata::value(const std::string& key) const {
    const auto found = values.find(key);
    return found != values.end() ? std::optional(found->second) : std::nullopt;
}

uint32_t PipeWireMetadata::number(const std::string& key) const {
    const std::string text = value(key).value_or("");
    uint32_t result = 0;
    std::from_chars(text.data(), text.data() + text.size(), result);
    return result;
}

std::optional<std::string> PipeWireMetadata::nodeName(const std::string& key) const {
    const auto text = value(key);
    if (!text) return std::nullopt;
    spa_json whole{};
    spa_json object{};
    spa_json_init(&whole, text->data(), text->size());
    if (spa_json_enter_object(&whole, &object) <= 0) return std::nullopt;
    char field[256];
    while (spa_json_get_string(&object, field, sizeof field) > 0) {
        if (std::string_view(field) == "name") {
            char named[1024];
            if (spa_json_get_string(&object, named, sizeof named) <= 0) return std::nullopt;
            return named;
        }
        const char* skipped = nullptr;
        if (spa_json_next(&object, &skipped) <= 0) return std::nullopt;
    }
    return std::nullopt;
}

void PipeWireMetadata::setNodeName(const std::string& key, const std::string& nodeName) {
    char quoted[1024];
    const int length = spa_json_encode_string(quoted, sizeof quoted, nodeName.c_str());
    if (length <= 0 || length >= static_cast<int>(sizeof quoted)) return;
    const std::string value = "{\"name\":" + std::string(quoted, static_cast<size_t>(length)) + "}";
    pw_metadata_set_property(metadata(proxy), kWholeServer, key.c_str(), "Spa:String:JSON", value.c_str());
}

void PipeWireMetadata::remove(const std::string& key) {
    pw_metadata_set_property(metadata(proxy), kWholeServer, key.c_str(), nullptr, nullptr);
}

void PipeWireMetadata::property(uint32_t subject, const char* key, const char* value) {
    loop.assertHeld();
    if (subject != kWholeServer) return;
    if (key == nullptr) {
        values.clear();
    } else if (value == nullptr) {
        values.erase(key);
    } else {
        values[key] = value;
    }
    changed(key != nullptr ? key : "");
}

} // namespace vintra

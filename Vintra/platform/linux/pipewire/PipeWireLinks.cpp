#include "Vintra/platform/linux/pipewire/PipeWireLinks.h"

#include "Vintra/platform/linux/pipewire/PipeWireLoop.h"

#include <pipewire/pipewire.h>

#include <algorithm>
#include <charconv>
#include <cstring>
#include <string_view>

namespace vintra {
namespace {

uint32_t linkEnd(const spa_dict& properties, const char* key) {
    const char* const text = spa_dict_lookup(&properties, key);
    uint32_t id = PW_ID_ANY;
    if (text != nullptr) std::from_chars(text, text + std::strlen(text), id);
    return id;
}

/// A link is of one channel: two nodes may have many.
void addOnce(std::vector<uint32_t>& nodes, uint32_t node) {
    if (std::ranges::find(nodes, node) == nodes.end()) nodes.push_back(node);
}

} // namespace

bool PipeWireLinks::bind(uint32_t globalID, const char* type, const spa_dict& properties) {
    loop.assertHeld();
    if (std::string_view(type) != PW_TYPE_INTERFACE_Link) return false;
    links[globalID] = {.output = linkEnd(properties, PW_KEY_LINK_OUTPUT_NODE),
                       .input = linkEnd(properties, PW_KEY_LINK_INPUT_NODE)};
    return true;
}

bool PipeWireLinks::remove(uint32_t globalID) {
    loop.assertHeld();
    return links.erase(globalID) > 0;
}

void PipeWireLinks::clear() {
    loop.assertHeld();
    links.clear();
}

std::vector<uint32_t> PipeWireLinks::sendersTo(uint32_t node) const {
    loop.assertHeld();
    std::vector<uint32_t> result;
    for (const auto& [id, link] : links) {
        if (link.input == node) addOnce(result, link.output);
    }
    return result;
}

std::vector<uint32_t> PipeWireLinks::receiversOf(uint32_t node) const {
    loop.assertHeld();
    std::vector<uint32_t> result;
    for (const auto& [id, link] : links) {
        if (link.output == node) addOnce(result, link.input);
    }
    return result;
}

} // namespace vintra

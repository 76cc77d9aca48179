#include "Vintra/platform/simulated/SimulatedUserDefaults.h"

#include <utility>

namespace vintra {

std::optional<DefaultsValue> SimulatedUserDefaults::value(const std::string& key) const {
    const auto found = values.find(key);
    return found == values.end() ? std::nullopt : std::optional<DefaultsValue>(found->second);
}

void SimulatedUserDefaults::set(const std::string& key, DefaultsValue value) {
    values[key] = std::move(value);
}

void SimulatedUserDefaults::remove(const std::string& key) {
    values.erase(key);
}

} // namespace vintra

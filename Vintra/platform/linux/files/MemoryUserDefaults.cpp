#include "Vintra/platform/linux/files/MemoryUserDefaults.h"

#include <optional>
#include <utility>

namespace vintra {

std::optional<DefaultsValue> MemoryUserDefaults::value(const std::string& key) const {
    const auto found = values.find(key);
    return found == values.end() ? std::nullopt : std::optional(found->second);
}

void MemoryUserDefaults::set(const std::string& key, DefaultsValue value) {
    values.insert_or_assign(key, std::move(value));
}

void MemoryUserDefaults::remove(const std::string& key) {
    values.erase(key);
}

} // namespace vintra

#pragma once

#include "Vintra/platform/UserDefaults.h"

#include <optional>

namespace vintra {

/// Settings that last as long as the object: for programs that leave the user's alone. Main thread.
class MemoryUserDefaults : public UserDefaults {
public:
    std::optional<DefaultsValue> value(const std::string& key) const override;
    void set(const std::string& key, DefaultsValue value) override;
    void remove(const std::string& key) override;

private:
    std::map<std::string, DefaultsValue> values;
};

} // namespace vintra

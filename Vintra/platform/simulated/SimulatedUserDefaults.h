#pragma once

#include "Vintra/platform/UserDefaults.h"

#include <map>
#include <string>

namespace vintra {

/// Settings in memory. Main thread.
class SimulatedUserDefaults : public UserDefaults {
public:
    std::optional<DefaultsValue> value(const std::string& key) const override;
    void set(const std::string& key, DefaultsValue value) override;
    void remove(const std::string& key) override;

    std::map<std::string, DefaultsValue> values; ///< everything that is set
};

} // namespace vintra

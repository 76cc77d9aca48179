#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace vintra {

using DefaultsValue =
    std::variant<bool, int64_t, double, std::string, std::vector<double>, std::map<std::string, std::string>>;

/// The application's settings by key. A write is kept across runs. Main thread.
class UserDefaults {
public:
    virtual ~UserDefaults() = default;
    /// Nothing if the key is absent.
    virtual std::optional<DefaultsValue> value(const std::string& key) const = 0;
    virtual void set(const std::string& key, DefaultsValue value) = 0;
    virtual void remove(const std::string& key) = 0;
};

// Typed readings: nothing if the key is absent or its value is of another type. A whole number also reads as
// a double, and a double without a fraction as a whole number.
std::optional<bool> boolForKey(const UserDefaults& defaults, const std::string& key);
std::optional<int64_t> integerForKey(const UserDefaults& defaults, const std::string& key);
std::optional<double> doubleForKey(const UserDefaults& defaults, const std::string& key);
std::optional<std::string> stringForKey(const UserDefaults& defaults, const std::string& key);
std::optional<std::vector<double>> doublesForKey(const UserDefaults& defaults, const std::string& key);
std::optional<std::map<std::string, std::string>> dictionaryForKey(const UserDefaults& defaults,
                                                                   const std::string& key);

} // namespace vintra

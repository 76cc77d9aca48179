#include "Vintra/platform/UserDefaults.h"

#include <cmath>

namespace vintra {
namespace {

template <typename Type>
std::optional<Type> typedValue(const UserDefaults& defaults, const std::string& key) {
    const auto value = defaults.value(key);
    if (!value) return std::nullopt;
    const Type* typed = std::get_if<Type>(&*value);
    return typed ? std::optional<Type>(*typed) : std::nullopt;
}

} // namespace

std::optional<bool> boolForKey(const UserDefaults& defaults, const std::string& key) {
    return typedValue<bool>(defaults, key);
}

std::optional<int64_t> integerForKey(const UserDefaults& defaults, const std::string& key) {
    if (const auto whole = typedValue<int64_t>(defaults, key)) return whole;
    const auto number = typedValue<double>(defaults, key);
    // 2^63 is the first double beyond the range.
    if (!number || *number != std::trunc(*number) || !(std::fabs(*number) < 9223372036854775808.0))
        return std::nullopt;
    return static_cast<int64_t>(*number);
}

std::optional<double> doubleForKey(const UserDefaults& defaults, const std::string& key) {
    if (const auto number = typedValue<double>(defaults, key)) return number;
    const auto whole = typedValue<int64_t>(defaults, key);
    return whole ? std::optional<double>(static_cast<double>(*whole)) : std::nullopt;
}

std::optional<std::string> stringForKey(const UserDefaults& defaults, const std::string& key) {
    return typedValue<std::string>(defaults, key);
}

std::optional<std::vector<double>> doublesForKey(const UserDefaults& defaults, const std::string& key) {
    return typedValue<std::vector<double>>(defaults, key);
}

std::optional<std::map<std::string, std::string>> dictionaryForKey(const UserDefaults& defaults,
                                                                   const std::string& key) {
    return typedValue<std::map<std::string, std::string>>(defaults, key);
}

} // namespace vintra

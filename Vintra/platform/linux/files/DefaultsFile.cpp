#include "Vintra/platform/linux/files/DefaultsFile.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <nlohmann/json.hpp>
#include <utility>

namespace vintra {
namespace {

using nlohmann::json;

bool isUTF8(const std::string& text) {
    try {
        (void)json(text).dump();
        return true;
    } catch (const json::type_error&) {
        return false;
    }
}

json jsonOfString(const std::string& text) {
    if (isUTF8(text)) return text;
    std::string digits;
    for (const char c : text) {
        char pair[3];
        std::snprintf(pair, sizeof pair, "%02X", static_cast<unsigned char>(c));
        digits += pair;
    }
    return json::array({digits});
}

std::optional<std::string> stringOfJSON(const json& value) {
    if (value.is_string()) return value.get<std::string>();
    if (!value.is_array() || value.size() != 1 || !value[0].is_string()) return std::nullopt;
    const auto& digits = value[0].get_ref<const std::string&>();
    if (digits.size() % 2 != 0 || digits.find_first_not_of("0123456789ABCDEF") != std::string::npos)
        return std::nullopt;
    std::string text;
    for (size_t i = 0; i < digits.size(); i += 2)
        text += static_cast<char>(std::stoi(digits.substr(i, 2), nullptr, 16));
    return text;
}

bool isFinite(const std::vector<double>& numbers) {
    return std::all_of(numbers.begin(), numbers.end(), [](double number) { return std::isfinite(number); });
}

struct ValueWriter {
    std::optional<json> operator()(bool value) const { return value; }
    std::optional<json> operator()(int64_t value) const { return value; }
    std::optional<json> operator()(double value) const {
        return std::isfinite(value) ? std::optional<json>(value) : std::nullopt;
    }
    std::optional<json> operator()(const std::string& value) const { return jsonOfString(value); }
    std::optional<json> operator()(const std::vector<double>& value) const {
        return isFinite(value) ? std::optional<json>(value) : std::nullopt;
    }
    std::optional<json> operator()(const std::map<std::string, std::string>& value) const {
        json object = json::object();
        for (const auto& [name, text] : value) {
            if (isUTF8(name)) object[name] = jsonOfString(text);
        }
        return object;
    }
};

std::optional<DefaultsValue> valueOfArray(const json& value) {
    if (const auto text = stringOfJSON(value)) return *text;
    std::vector<double> numbers;
    for (const json& number : value) {
        if (!number.is_number()) return std::nullopt;
        numbers.push_back(number.get<double>());
    }
    return numbers;
}

std::optional<DefaultsValue> valueOfObject(const json& value) {
    std::map<std::string, std::string> dictionary;
    for (const auto& [name, member] : value.items()) {
        const auto text = stringOfJSON(member);
        if (!text) return std::nullopt;
        dictionary.emplace(name, *text);
    }
    return dictionary;
}

std::optional<DefaultsValue> valueOfJSON(const json& value) {
    if (value.is_boolean()) return value.get<bool>();
    if (value.is_number_unsigned() && value.get<uint64_t>() > static_cast<uint64_t>(INT64_MAX))
        return value.get<double>();
    if (value.is_number_integer()) return value.get<int64_t>();
    if (value.is_number_float()) return value.get<double>();
    if (value.is_string()) return value.get<std::string>();
    if (value.is_array()) return valueOfArray(value);
    if (value.is_object()) return valueOfObject(value);
    return std::nullopt;
}

} // namespace

std::string textOfDefaults(const DefaultsValues& values) {
    json object = json::object();
    for (const auto& [key, value] : values) {
        if (!isUTF8(key)) continue;
        if (auto written = std::visit(ValueWriter{}, value)) object[key] = std::move(*written);
    }
    return object.dump(2) + "\n";
}

std::optional<DefaultsValues> defaultsOfText(const std::string& text) {
    const json object = json::parse(text, nullptr, false);
    if (!object.is_object()) return std::nullopt;
    DefaultsValues values;
    for (const auto& [key, member] : object.items()) {
        if (auto value = valueOfJSON(member)) values.emplace(key, std::move(*value));
    }
    return values;
}

} // namespace vintra

#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace vintra::TimelineFile {

/// A JSON value. Objects keep the order of their entries. A value: any thread.
class JSON {
public:
    using Object = std::vector<std::pair<std::string, JSON>>;
    using Array = std::vector<JSON>;

    JSON(Object entries)
        : value(std::move(entries)) {}
    JSON(Array elements)
        : value(std::move(elements)) {}
    JSON(std::string text)
        : value(std::move(text)) {}
    JSON(const char* text)
        : value(std::string(text)) {}
    /// Finite.
    JSON(double number)
        : value(number) {}
    JSON(int64_t number)
        : value(number) {}
    JSON(bool truth)
        : value(truth) {}
    JSON(std::nullptr_t)
        : value(nullptr) {}

    /// An object of alternating keys and values.
    template <typename... KeysAndValues>
    static JSON object(KeysAndValues&&... keysAndValues) {
        Object entries;
        entries.reserve(sizeof...(keysAndValues) / 2);
        addEntries(entries, std::forward<KeysAndValues>(keysAndValues)...);
        return entries;
    }

    /// Two blanks a level, without a line feed at the end. The first line is not indented.
    std::string text(size_t depth) const;

private:
    static void addEntries(Object&) {}
    template <typename Value, typename... Rest>
    static void addEntries(Object& entries, std::string key, Value&& entry, Rest&&... rest) {
        entries.emplace_back(std::move(key), std::forward<Value>(entry));
        addEntries(entries, std::forward<Rest>(rest)...);
    }
    void appendText(std::string& json, size_t depth) const;

    std::variant<Object, Array, std::string, double, int64_t, bool, std::nullptr_t> value;
};

} // namespace vintra::TimelineFile

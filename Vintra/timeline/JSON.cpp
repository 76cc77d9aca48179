#include "Vintra/timeline/JSON.h"

#include "Vintra/platform/UTF8.h"

#include <charconv>
#include <cstdio>
#include <string_view>

namespace vintra::TimelineFile {
namespace {

void appendIndent(std::string& json, size_t depth) {
    json.append(2 * depth, ' ');
}

void appendControl(std::string& json, uint32_t scalar) {
    switch (scalar) {
    case '\t':
        json += "\\t";
        return;
    case '\n':
        json += "\\n";
        return;
    case '\r':
        json += "\\r";
        return;
    default:
        break;
    }
    char escape[8];
    std::snprintf(escape, sizeof escape, "\\u%04x", scalar);
    json += escape;
}

/// Bytes that are no UTF-8 become U+FFFD: JSON has no way to hold them.
void appendQuoted(std::string& json, std::string_view text) {
    json += '"';
    for (size_t offset = 0; offset < text.size();) {
        const UTF8Scalar scalar = scalarAt(text, offset);
        if (!scalar.isValid) {
            appendScalar(json, kReplacementScalar);
        } else if (scalar.value < 0x20) {
            appendControl(json, scalar.value);
        } else {
            if (scalar.value == '"' || scalar.value == '\\') json += '\\';
            json.append(text, offset, scalar.length);
        }
        offset += scalar.length;
    }
    json += '"';
}

/// The shortest decimal that reads back the same, always with a fraction.
void appendDouble(std::string& json, double number) {
    char digits[400]; // the largest double has 309 digits before the point
    const auto end = std::to_chars(digits, digits + sizeof digits, number, std::chars_format::fixed).ptr;
    const std::string_view text(digits, static_cast<size_t>(end - digits));
    json += text;
    if (text.find('.') == std::string_view::npos) json += ".0";
}

} // namespace

std::string JSON::text(size_t depth) const {
    std::string json;
    appendText(json, depth);
    return json;
}

void JSON::appendText(std::string& json, size_t depth) const {
    const auto appendList = [&](char open, const auto& list, char close, const auto& appendElement) {
        json += open;
        const char* separator = "\n";
        for (const auto& element : list) {
            json += separator;
            appendIndent(json, depth + 1);
            appendElement(element);
            separator = ",\n";
        }
        if (!list.empty()) {
            json += '\n';
            appendIndent(json, depth);
        }
        json += close;
    };
    struct Printer {
        std::string& json;
        size_t depth;
        const decltype(appendList)& list;
        void operator()(const Object& entries) const {
            list('{', entries, '}', [this](const auto& entry) {
                appendQuoted(json, entry.first);
                json += ": ";
                entry.second.appendText(json, depth + 1);
            });
        }
        void operator()(const Array& elements) const {
            list('[', elements, ']', [this](const JSON& element) { element.appendText(json, depth + 1); });
        }
        void operator()(const std::string& text) const { appendQuoted(json, text); }
        void operator()(double number) const { appendDouble(json, number); }
        void operator()(int64_t number) const { json += std::to_string(number); }
        void operator()(bool truth) const { json += truth ? "true" : "false"; }
        void operator()(std::nullptr_t) const { json += "null"; }
    };
    std::visit(Printer{json, depth, appendList}, value);
}

} // namespace vintra::TimelineFile

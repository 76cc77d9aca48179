#include "Vintra/take/TakeJournalText.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <string_view>
#include <utility>

namespace vintra::TakeJournalText {
namespace {

using Fields = std::vector<std::string>;
using Kind = TakeRecord::File::Kind;

constexpr int64_t kVersion = 1;
constexpr std::string_view kSumMark = " #";
constexpr size_t kSumDigits = 8;
constexpr std::array<std::pair<const char*, Kind>, 3> kKindNames = {
    {{"screen", Kind::screen}, {"camera", Kind::camera}, {"sound", Kind::sound}}};

uint32_t sumOf(std::string_view text) {
    uint32_t sum = 2166136261u; // FNV-1a, 32 bits
    for (const char byte : text)
        sum = (sum ^ static_cast<uint8_t>(byte)) * 16777619u;
    return sum;
}

std::string hex(uint32_t number) {
    char digits[kSumDigits + 1];
    std::snprintf(digits, sizeof digits, "%08x", number);
    return digits;
}

/// Without blanks and line ends, so that it is one field of one line. An empty text is "%".
std::string encoded(const std::string& text) {
    if (text.empty()) return "%";
    std::string result;
    for (const char c : text) {
        const auto byte = static_cast<uint8_t>(c);
        if (byte > 0x20 && byte != 0x7F && c != '%') {
            result += c;
            continue;
        }
        char escape[4];
        std::snprintf(escape, sizeof escape, "%%%02X", byte);
        result += escape;
    }
    return result;
}

std::optional<std::string> decoded(std::string_view text) {
    std::string result;
    if (text == "%") return result;
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '%') {
            result += text[i];
            continue;
        }
        uint8_t byte = 0;
        if (i + 3 > text.size()) return std::nullopt;
        const auto parsed = std::from_chars(text.data() + i + 1, text.data() + i + 3, byte, 16);
        if (parsed.ptr != text.data() + i + 3) return std::nullopt;
        result += static_cast<char>(byte);
        i += 2;
    }
    return result;
}

/// Nothing if the line isn't whole.
std::optional<Fields> fieldsOf(std::string_view line) {
    const size_t tail = kSumMark.size() + kSumDigits;
    if (line.size() <= tail) return std::nullopt;
    std::string_view text = line.substr(0, line.size() - tail);
    if (line.substr(text.size()) != std::string(kSumMark) + hex(sumOf(text))) return std::nullopt;
    Fields fields;
    while (true) {
        const size_t end = std::min(text.find(' '), text.size());
        auto field = decoded(text.substr(0, end));
        if (!field) return std::nullopt;
        fields.push_back(std::move(*field));
        if (end == text.size()) return fields;
        text.remove_prefix(end + 1);
    }
}

template <typename Number>
std::optional<Number> number(const std::string& text) {
    Number value{};
    const char* const end = text.data() + text.size();
    const auto parsed = std::from_chars(text.data(), end, value);
    if (parsed.ec != std::errc{} || parsed.ptr != end) return std::nullopt;
    return value;
}

std::optional<CMTime> time(const std::string& value, const std::string& timescale) {
    const auto ticks = number<int64_t>(value);
    const auto scale = number<int32_t>(timescale);
    if (!ticks || !scale || *scale < 1) return std::nullopt;
    return CMTimeMake(*ticks, *scale);
}

/// A name that leads out of the folder is none of a take's.
bool isFileName(const std::string& name) {
    return !name.empty() && name.find('/') == std::string::npos && name != "." && name != "..";
}

void takeFile(const Fields& fields, TakeRecord& record) {
    if (!isFileName(fields[2])) return;
    for (const auto& [name, kind] : kKindNames) {
        if (fields[1] == name) record.files.push_back({kind, fields[2]});
    }
}

/// Adds what the line says; one that says nothing known is left out.
void take(const Fields& fields, TakeRecord& record) {
    const std::string& what = fields[0];
    if (what == "take" && fields.size() == 2 && isFileName(fields[1])) {
        record.take = fields[1];
    } else if (what == "note" && fields.size() == 2 && isFileName(fields[1])) {
        record.noteID = fields[1];
    } else if (what == "editor" && fields.size() == 2) {
        record.editor = timelineEditorWithRawValue(fields[1]).value_or(TimelineEditor::none);
    } else if (what == "file" && fields.size() == 3) {
        takeFile(fields, record);
    } else if (what == "camera-sound" && fields.size() == 2) {
        record.cameraSound = fields[1];
    } else if (what == "start" && fields.size() == 3) {
        record.commonStart = time(fields[1], fields[2]);
    } else if (what == "first" && fields.size() == 4) {
        if (const auto stamp = time(fields[2], fields[3])) record.firstStamps[fields[1]] = *stamp;
    } else if (what == "marker" && fields.size() == 2) {
        const auto seconds = number<double>(fields[1]);
        if (seconds && std::isfinite(*seconds)) record.markers.push_back(*seconds);
    } else if (what == "padding" && fields.size() == 3) {
        if (const auto bytes = number<uint64_t>(fields[2])) record.sizesBeforePadding[fields[1]] = *bytes;
    }
}

const char* nameOf(Kind kind) {
    for (const auto& [name, candidate] : kKindNames) {
        if (candidate == kind) return name;
    }
    return "";
}

} // namespace

std::string line(const Fields& fields) {
    std::string text;
    for (const std::string& field : fields)
        text += (text.empty() ? "" : " ") + encoded(field);
    const std::string sum = hex(sumOf(text));
    return text.append(kSumMark).append(sum) + "\n";
}

std::vector<Fields> lines(const std::string& text) {
    std::vector<Fields> result;
    for (size_t begin = 0; begin < text.size();) {
        const size_t end = std::min(text.find('\n', begin), text.size());
        auto fields = fieldsOf(std::string_view(text).substr(begin, end - begin));
        if (fields) result.push_back(std::move(*fields));
        begin = end + 1;
    }
    return result;
}

std::string head(const TakeRecord& record) {
    std::string text = line({"vintra-take", std::to_string(kVersion)});
    text += line({"take", record.take});
    if (!record.noteID.empty()) text += line({"note", record.noteID});
    text += line({"editor", rawValue(record.editor)});
    for (const TakeRecord::File& file : record.files)
        text += line({"file", nameOf(file.kind), file.name});
    if (!record.cameraSound.empty()) text += line({"camera-sound", record.cameraSound});
    return text;
}

std::string commonStart(CMTime time) {
    return line({"start", std::to_string(time.value), std::to_string(time.timescale)});
}

std::string firstStamp(const std::string& file, CMTime time) {
    return line({"first", file, std::to_string(time.value), std::to_string(time.timescale)});
}

std::string marker(double seconds) {
    char text[64];
    const auto end = std::to_chars(text, text + sizeof text, seconds).ptr;
    return line({"marker", std::string(text, end)});
}

std::string sizeBeforePadding(const std::string& file, uint64_t bytes) {
    return line({"padding", file, std::to_string(bytes)});
}

std::optional<Parsed> parse(const std::string& text) {
    Parsed parsed;
    bool isJournal = false;
    for (const Fields& fields : lines(text)) {
        if (fields[0] == "vintra-take" && fields.size() >= 2) {
            isJournal = true;
            parsed.isFromNewerProgram = number<int64_t>(fields[1]).value_or(kVersion + 1) > kVersion;
        }
        if (isJournal) take(fields, parsed.record);
    }
    if (!isJournal || (parsed.record.take.empty() && !parsed.isFromNewerProgram)) return std::nullopt;
    return parsed;
}

} // namespace vintra::TakeJournalText

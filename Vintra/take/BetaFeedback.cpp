#include "Vintra/take/BetaFeedback.h"

#include "Vintra/platform/SystemError.h"
#include "Vintra/platform/UTF8.h"
#include "Vintra/take/FormText.h"

#include <algorithm>
#include <array>
#include <utility>

namespace vintra::BetaFeedback {
namespace {

constexpr std::string_view kProgramName = "Vintra";
constexpr double kOldestSeconds = 86'400; // a crash of more than a day ago isn't the last run's

struct Report {
    URL url;
    Date modified;
};

std::optional<Report> newestReport(const FileManager& files, const CrashReportFolder& in) {
    std::optional<Report> newest;
    for (const std::string& name : files.contentsOfDirectory(in.folder)) {
        const URL url = in.folder.appendingPathComponent(name);
        if (!name.starts_with(kProgramName) || url.pathExtension() != in.pathExtension) continue;
        const auto modified = files.contentModificationDate(url);
        if (modified && (!newest || newest->modified < *modified)) newest = Report{url, *modified};
    }
    return newest;
}

std::string wholeFile(FileManager& files, const URL& at) {
    const auto file = files.openForReading(at);
    std::string text;
    std::array<uint8_t, 65'536> piece{};
    while (const size_t count = file->read(piece.data(), piece.size()))
        text.append(reinterpret_cast<const char*>(piece.data()), count);
    return text;
}

/// The first so many characters and where the rest begins; nothing if the bytes are no text.
std::optional<size_t> lengthOfCharacters(std::string_view text, size_t count, bool& isLonger) {
    size_t offset = 0;
    size_t kept = 0;
    isLonger = false;
    for (size_t characters = 0; offset < text.size(); ++characters) {
        const UTF8Scalar scalar = scalarAt(text, offset);
        if (!scalar.isValid) return std::nullopt;
        if (characters == count) isLonger = true;
        offset += scalar.length;
        if (characters < count) kept = offset;
    }
    return kept;
}

std::string wordOf(Route route) {
    switch (route) {
    case Route::button:
        return "button";
    case Route::crash:
        return "crash";
    case Route::afterTake:
        return "after-take";
    }
    return "";
}

} // namespace

constinit const std::string_view formURL = VINTRA_FORM_URL;

std::string buildText(const MachineFacts& facts) {
    return facts.appVersion + " (" + facts.buildVersion + ")";
}

std::optional<std::string> reportURL(Route from, const MachineFacts& facts, std::string_view form) {
    if (form.find("REPLACE_WITH") != std::string_view::npos) return std::nullopt;
    const std::array<std::pair<const char*, std::string>, 4> items{{{"build", buildText(facts)},
                                                                    {"os", facts.operatingSystemVersion},
                                                                    {"mac", facts.hardwareModel},
                                                                    {"from", wordOf(from)}}};
    // What follows a "#" is never sent to the server.
    const size_t fragment = std::min(form.find('#'), form.size());
    std::string address(form.substr(0, fragment));
    char separator = address.find('?') == std::string::npos ? '?' : '&';
    for (const auto& [key, value] : items) {
        address += separator + std::string(key) + "=" + FormText::queryEncoded(value);
        separator = '&';
    }
    return address + std::string(form.substr(fragment));
}

std::optional<std::string> latestCrashReport(FileManager& files, const CrashReportFolder& in, Date now,
                                             size_t maxCharacters) {
    if (in.folder.isEmpty()) return std::nullopt;
    if (in.gather) in.gather();
    try {
        const auto report = newestReport(files, in);
        if (!report || now.secondsSince1970 - report->modified.secondsSince1970 >= kOldestSeconds)
            return std::nullopt;
        std::string text = wholeFile(files, report->url);
        bool isLonger = false;
        const auto length = lengthOfCharacters(text, maxCharacters, isLonger);
        if (!length) return std::nullopt;
        if (!isLonger) return text;
        text.resize(*length);
        return text + "\n\n[truncated — full report at " + report->url.path() + "]";
    } catch (const SystemError&) {
        return std::nullopt;
    }
}

} // namespace vintra::BetaFeedback

#include "tools/vintra-take/TakeSummary.h"

#include "Vintra/platform/URL.h"
#include "Vintra/take/SyncReport.h"
#include "Vintra/take/Text.h"
#include "tools/vintra-take/Numbers.h"
#include "tools/vintra-take/TextTable.h"

#include <cmath>
#include <nlohmann/json.hpp>

namespace vintra {
namespace {

const char* nameOf(FileKind kind) {
    switch (kind) {
    case FileKind::screen:
        return "screen";
    case FileKind::camera:
        return "camera";
    case FileKind::sound:
        return "sound";
    }
    return "";
}

std::string unitsOf(const TakeFile& file) {
    return std::to_string(file.units) + (file.kind == FileKind::sound ? " samples" : " frames");
}

std::string rateOf(const TakeFile& file) {
    return plainNumber(file.rate) + (file.kind == FileKind::sound ? " Hz" : " fps");
}

std::string kindOf(const TakeFile& file) {
    return std::string(nameOf(file.kind)) + (file.camera.empty() ? "" : " (" + file.camera + ")");
}

std::vector<std::string> rowOf(const TakeFile& file) {
    const std::string name = URL::fileURL(file.path).lastPathComponent();
    if (file.problem) return {name, kindOf(file), *file.problem, "", "", ""};
    return {name,          kindOf(file), fixedNumber(file.seconds, 3) + " s",
            unitsOf(file), rateOf(file), file.padding ? fixedNumber(*file.padding, 3) + " s" : "-"};
}

nlohmann::ordered_json syncOf(const SavedFile& file) {
    nlohmann::ordered_json object;
    object["start"] = startOffset(file);
    object["bytes"] = file.bytes;
    if (file.frames) {
        object["framesOwn"] = file.frames->own;
        object["framesCopied"] = file.frames->copied;
        object["framesUnchanged"] = file.frames->unchanged;
        object["framesLost"] = file.frames->lost;
    }
    if (!file.sound) return object;
    const SoundAccount& account = *file.sound;
    object["firstSound"] = file.gap;
    object["framesOwn"] = account.framesWritten;
    object["framesSilence"] = account.framesSilenced;
    object["framesCut"] = account.framesCut;
    object["gaps"] = nlohmann::ordered_json::array();
    for (const SoundLoss& loss : account.losses)
        object["gaps"].push_back(
            {{"at", loss.atSeconds()}, {"seconds", loss.seconds()}, {"kind", lossName(loss.kind)}});
    object["drift"] = nlohmann::ordered_json();
    if (account.drift)
        object["drift"] = {{"partsPerMillion", account.drift->partsPerMillion},
                           {"seconds", account.drift->secondsAtEnd},
                           {"isCorrected", account.isDriftCorrected}};
    return object;
}

nlohmann::ordered_json jsonOf(const TakeFile& file) {
    nlohmann::ordered_json object;
    object["path"] = file.path;
    object["kind"] = nameOf(file.kind);
    if (!file.camera.empty()) object["camera"] = file.camera;
    if (file.problem) {
        object["problem"] = *file.problem;
        return object;
    }
    object["seconds"] = file.seconds;
    object[file.kind == FileKind::sound ? "samples" : "frames"] = file.units;
    object["rate"] = file.rate;
    object["padding"] = file.padding ? nlohmann::ordered_json(*file.padding) : nlohmann::ordered_json();
    if (file.saved) object["sync"] = syncOf(*file.saved);
    return object;
}

} // namespace

int TakeSummary::exitCode() const {
    return status == "Saved" || status == "Saved with warnings" ? 0 : 1;
}

std::string tableOf(const TakeSummary& summary) {
    std::string text = summary.status + ".\n";
    // The last error holds the warnings, and before them why a take ended by itself.
    if (summary.lastError && *summary.lastError != joined(summary.warnings, " ")) {
        text += "  " + *summary.lastError + "\n";
    } else {
        for (const std::string& warning : summary.warnings)
            text += "  " + warning + "\n";
    }
    if (!summary.files.empty()) {
        TextTable table({"file", "kind", "length", "frames", "rate", "leading silence"});
        for (const TakeFile& file : summary.files)
            table.addRow(rowOf(file));
        text += "\n" + table.text();
    }
    if (summary.screen) text += "\nScreen: " + *summary.screen + "\n";
    if (summary.timeline) text += "\nTimeline: " + *summary.timeline + "\n";
    if (!summary.files.empty()) text += "\nThe files are in " + summary.folder + "\n";
    if (summary.report) text += "\n" + *summary.report + (summary.report->ends_with("\n") ? "" : "\n");
    return text;
}

std::string jsonOf(const TakeSummary& summary) {
    nlohmann::ordered_json object;
    object["status"] = summary.status;
    object["lastError"] =
        summary.lastError ? nlohmann::ordered_json(*summary.lastError) : nlohmann::ordered_json();
    object["folder"] = summary.folder;
    object["screen"] = summary.screen ? nlohmann::ordered_json(*summary.screen) : nlohmann::ordered_json();
    object["files"] = nlohmann::ordered_json::array();
    for (const TakeFile& file : summary.files)
        object["files"].push_back(jsonOf(file));
    object["timeline"] =
        summary.timeline ? nlohmann::ordered_json(*summary.timeline) : nlohmann::ordered_json();
    object["warnings"] = summary.warnings;
    object["events"] = nlohmann::ordered_json::array();
    for (const TakeEvent& event : summary.events)
        object["events"].push_back(
            {{"seconds", event.seconds}, {"time", utcText(event.time)}, {"text", event.text}});
    if (summary.relay) object["relay"] = *summary.relay;
    if (summary.report) object["report"] = *summary.report;
    return object.dump(2, ' ', false, nlohmann::ordered_json::error_handler_t::replace) + "\n";
}

std::string jsonOfReport(const std::string& report) {
    const nlohmann::ordered_json object{{"report", report}};
    return object.dump(2, ' ', false, nlohmann::ordered_json::error_handler_t::replace) + "\n";
}

} // namespace vintra

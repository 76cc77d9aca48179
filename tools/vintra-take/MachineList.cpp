#include "tools/vintra-take/MachineList.h"

#include "Vintra/platform/UTF8.h"
#include "tools/vintra-take/Numbers.h"
#include "tools/vintra-take/TextTable.h"

#include <cmath>
#include <nlohmann/json.hpp>

namespace vintra {
namespace {

using nlohmann::ordered_json;

ordered_json jsonOfProblem(const std::optional<std::string>& problem) {
    return problem ? ordered_json(*problem) : ordered_json();
}

ordered_json jsonOfSize(CGSize size) {
    return {{"width", size.width}, {"height", size.height}};
}

ordered_json jsonOf(const AVCaptureDeviceFormat& format) {
    const VideoDescription& description = format.formatDescription;
    ordered_json rates = ordered_json::array();
    for (const AVFrameRateRange& range : format.videoSupportedFrameRateRanges)
        rates.push_back({{"least", range.minFrameRate}, {"most", range.maxFrameRate}});
    return {{"width", description.dimensions.width},
            {"height", description.dimensions.height},
            {"subtype", textOfSubType(description.mediaSubType)},
            {"rates", rates}};
}

ordered_json jsonOf(const KnownCamera& camera) {
    ordered_json object{{"id", camera.id}, {"name", camera.name}, {"formats", ordered_json::array()}};
    for (const AVCaptureDeviceFormat& format : camera.formats)
        object["formats"].push_back(jsonOf(format));
    object["recorded"] = ordered_json();
    if (camera.chosen) {
        object["recorded"] = jsonOf(*camera.chosen);
        object["recorded"]["rate"] = camera.rate;
    }
    return object;
}

ordered_json jsonOfRate(double rate) {
    return rate > 0 ? ordered_json(rate) : ordered_json();
}

/// Points, to the hundredth.
std::string sizeText(CGSize size) {
    const auto text = [](double points) { return plainNumber(std::round(points * 100) / 100); };
    return text(size.width) + "×" + text(size.height);
}

/// Other programs' texts hold what they like; a table has room for one line, and a terminal obeys control
/// characters.
std::string lineOf(const std::string& text) {
    std::string line;
    for (size_t offset = 0; offset < text.size();) {
        const UTF8Scalar scalar = scalarAt(text, offset);
        const bool isControl = scalar.value < 0x20 || (scalar.value >= 0x7f && scalar.value < 0xa0);
        appendScalar(line, isControl ? ' ' : scalar.value);
        offset += scalar.length;
    }
    return line;
}

std::string displaysText(const MachineList& list) {
    if (list.displays.empty()) return list.screenProblem.value_or("There is no display.") + "\n";
    TextTable table({"display", "name", "pixels", "points", "scale"});
    for (const KnownDisplay& known : list.displays) {
        table.addRow({std::to_string(known.display.id), lineOf(known.display.name),
                      std::to_string(known.display.width) + "×" + std::to_string(known.display.height),
                      sizeText(known.points), plainNumber(known.scale)});
    }
    return table.text();
}

std::string windowsText(const MachineList& list) {
    if (list.windows.empty()) return list.windowProblem.value_or("There is no window.") + "\n";
    TextTable table({"window", "application", "title", "points"}, 3);
    for (const PickableWindow& window : list.windows) {
        table.addRow({std::to_string(window.id), lineOf(window.appName), lineOf(window.title),
                      sizeText(window.frame.size)});
    }
    return table.text();
}

std::string shapeText(const AVCaptureDeviceFormat& format) {
    return textOf(format.formatDescription.dimensions) + " " +
           textOfSubType(format.formatDescription.mediaSubType);
}

/// A row for each format, the camera on the first of them.
std::string camerasText(const MachineList& list) {
    if (list.cameras.empty()) return "There is no camera.\n";
    TextTable table({"camera", "name", "format", "frames a second", "recorded at"}, 3);
    for (const KnownCamera& camera : list.cameras) {
        bool isFirst = true;
        for (const AVCaptureDeviceFormat& format : camera.formats) {
            const bool isChosen = format == camera.chosen;
            table.addRow({isFirst ? camera.id : "", isFirst ? lineOf(camera.name) : "", shapeText(format),
                          textOfRates(format),
                          isChosen ? plainNumber(std::round(camera.rate * 100) / 100) : ""});
            isFirst = false;
        }
    }
    return table.text();
}

std::string rateText(double rate) {
    return rate > 0 ? plainNumber(rate) : "";
}

std::string inputsText(const MachineList& list) {
    if (list.inputs.empty()) return list.soundProblem.value_or("There is no sound input.") + "\n";
    TextTable table({"sound input", "name", "channels", "rate"});
    for (const KnownInput& input : list.inputs)
        table.addRow({input.id, lineOf(input.name), std::to_string(input.channels), rateText(input.rate)});
    return table.text();
}

std::string outputsText(const MachineList& list) {
    if (list.soundProblem && list.outputs.empty()) return "";
    std::string text = "There is no sound output.\n";
    if (!list.outputs.empty()) {
        TextTable table({"sound output", "name", "rate", "default"});
        for (const KnownOutput& output : list.outputs)
            table.addRow(
                {output.id, lineOf(output.name), rateText(output.rate), output.isDefault ? "yes" : ""});
        text = table.text();
    }
    if (list.computerAudioProblem) text += "\n" + *list.computerAudioProblem + "\n";
    return "\n" + text;
}

} // namespace

std::string textOf(const MachineList& list) {
    return displaysText(list) + "\n" + windowsText(list) + "\n" + camerasText(list) + "\n" +
           inputsText(list) + outputsText(list);
}

std::string jsonOf(const MachineList& list) {
    ordered_json object;
    object["displays"] = ordered_json::array();
    for (const KnownDisplay& known : list.displays) {
        object["displays"].push_back({{"id", known.display.id},
                                      {"name", known.display.name},
                                      {"width", known.display.width},
                                      {"height", known.display.height},
                                      {"scale", known.scale},
                                      {"points", jsonOfSize(known.points)}});
    }
    object["screenProblem"] = jsonOfProblem(list.screenProblem);
    object["windows"] = ordered_json::array();
    for (const PickableWindow& window : list.windows) {
        object["windows"].push_back({{"id", window.id},
                                     {"application", window.appName},
                                     {"title", window.title},
                                     {"points", jsonOfSize(window.frame.size)}});
    }
    object["windowProblem"] = jsonOfProblem(list.windowProblem);
    object["cameras"] = ordered_json::array();
    for (const KnownCamera& camera : list.cameras)
        object["cameras"].push_back(jsonOf(camera));
    object["inputs"] = ordered_json::array();
    for (const KnownInput& input : list.inputs) {
        object["inputs"].push_back({{"id", input.id},
                                    {"name", input.name},
                                    {"channels", input.channels},
                                    {"rate", jsonOfRate(input.rate)}});
    }
    object["outputs"] = ordered_json::array();
    for (const KnownOutput& output : list.outputs) {
        object["outputs"].push_back({{"id", output.id},
                                     {"name", output.name},
                                     {"rate", jsonOfRate(output.rate)},
                                     {"default", output.isDefault}});
    }
    object["soundProblem"] = jsonOfProblem(list.soundProblem);
    object["computerAudioProblem"] = jsonOfProblem(list.computerAudioProblem);
    return object.dump(2, ' ', false, ordered_json::error_handler_t::replace) + "\n";
}

} // namespace vintra

#include "tools/vintra-take/MachineList.h"

#include "tools/vintra-take/TextTable.h"

#include <nlohmann/json.hpp>

namespace vintra {
namespace {

using nlohmann::ordered_json;

ordered_json jsonOfProblem(const std::optional<std::string>& problem) {
    return problem ? ordered_json(*problem) : ordered_json();
}

} // namespace

std::string textOf(const MachineList& list) {
    std::string text;
    if (list.displays.empty()) {
        text += list.screenProblem.value_or("There is no display.") + "\n";
    } else {
        TextTable table({"display", "name", "pixels"});
        for (const CaptureDisplay& display : list.displays) {
            table.addRow({std::to_string(display.id), display.name,
                          std::to_string(display.width) + "×" + std::to_string(display.height)});
        }
        text += table.text();
    }
    text += "\n";
    if (list.inputs.empty()) {
        text += list.soundProblem.value_or("There is no sound input.") + "\n";
    } else {
        TextTable table({"sound input", "name", "channels"});
        for (const KnownInput& input : list.inputs)
            table.addRow({input.id, input.name, std::to_string(input.channels)});
        text += table.text();
    }
    return text;
}

std::string jsonOf(const MachineList& list) {
    ordered_json object;
    object["displays"] = ordered_json::array();
    for (const CaptureDisplay& display : list.displays) {
        object["displays"].push_back({{"id", display.id},
                                      {"name", display.name},
                                      {"width", display.width},
                                      {"height", display.height}});
    }
    object["screenProblem"] = jsonOfProblem(list.screenProblem);
    object["inputs"] = ordered_json::array();
    for (const KnownInput& input : list.inputs) {
        object["inputs"].push_back({{"id", input.id}, {"name", input.name}, {"channels", input.channels}});
    }
    object["soundProblem"] = jsonOfProblem(list.soundProblem);
    return object.dump(2, ' ', false, ordered_json::error_handler_t::replace) + "\n";
}

} // namespace vintra

#include "Vintra/capturearea/CaptureModeChoice.h"

namespace vintra {

std::string rawValue(CaptureModeChoice choice) {
    switch (choice) {
    case CaptureModeChoice::fullScreen:
        return "fullScreen";
    case CaptureModeChoice::region:
        return "region";
    case CaptureModeChoice::window:
        return "window";
    }
    return "";
}

std::optional<CaptureModeChoice> captureModeChoice(std::string_view rawValue) {
    for (const CaptureModeChoice choice :
         {CaptureModeChoice::fullScreen, CaptureModeChoice::region, CaptureModeChoice::window}) {
        if (rawValue == vintra::rawValue(choice)) return choice;
    }
    return std::nullopt;
}

} // namespace vintra

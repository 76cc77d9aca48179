#pragma once

#include "Vintra/platform/MachineFacts.h"

#include <optional>
#include <string>
#include <string_view>

namespace vintra {

/// The public web form on which users tell what went wrong.
namespace BugReportForm {

/// Its address. A build whose address was never filled in has no form.
inline constexpr std::string_view formURL = "https://REPLACE_WITH/the-address-of-the-form";

/// What has led to the form: the report button, the card after a crash, the card after a take.
enum class Route { button, crash, afterTake };

/// The address of the form with the fields of the setup filled in; nothing if no form is set up.
std::optional<std::string> reportURL(Route from, const MachineFacts& facts, std::string_view form = formURL);

} // namespace BugReportForm
} // namespace vintra

#pragma once

#include "Vintra/platform/UserDefaults.h"

#include <map>
#include <optional>
#include <string>

namespace vintra {

using DefaultsValues = std::map<std::string, DefaultsValue>;

/// The text of a settings file: one JSON object with a member a key, for people to read. Whole numbers and
/// others stay apart by their decimal point. A string that isn't UTF-8 (a path may be any bytes) is a list of
/// one string of hexadecimal digits. A number that isn't finite can't be written and is left out.
std::string textOfDefaults(const DefaultsValues& values);

/// The settings of such a text; nothing if it isn't one. Members of kinds that aren't settings are left out.
std::optional<DefaultsValues> defaultsOfText(const std::string& text);

} // namespace vintra

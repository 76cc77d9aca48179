#pragma once

#include "Vintra/platform/UserDefaults.h"

#include <map>
#include <string>
#include <variant>

namespace vintra {

/// Settings that no control of the program writes, by key.
using HandSetValues = std::map<std::string, DefaultsValue>;

/// A setting that was read, or a sentence that says what is wrong with it.
using HandSetKey = std::variant<std::pair<std::string, DefaultsValue>, std::string>;

/// Reads KEY=VALUE.
HandSetKey parseHandSetKey(const std::string& text);

/// Reads a settings file: one JSON object, as the program's own settings.json. What the program keeps there for
/// itself is passed over. A key that neither of them knows is wrong, and so is a value that a key can't have.
std::variant<HandSetValues, std::string> readHandSetKeys(const std::string& path);

/// The keys with their values, for --help, a line each.
std::string handSetKeysHelp();

} // namespace vintra

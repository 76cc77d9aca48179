#pragma once

#include <string>
#include <string_view>

namespace vintra {

/// The half of `CrashReporter` that runs in the signal: nothing in it allocates, locks or throws once it is installed.
namespace crashHandler {

inline constexpr const char* kRawExtension = "raw";

void install(const std::string& folder, const std::string& name, const std::string& version,
             const std::string& machine);
void noteLogLine(std::string_view line);

} // namespace crashHandler
} // namespace vintra

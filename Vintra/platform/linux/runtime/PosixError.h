#pragma once

#include "Vintra/platform/SystemError.h"
#include "Vintra/platform/URL.h"

#include <string>

namespace vintra {

/// The error of a failed call on a file, told in two sentences: what failed and what to do about it. `what`
/// is the beginning of the first: "The folder “%s” can't be created", with %s standing for the path.
SystemError posixError(int code, const std::string& what, const URL& at);

} // namespace vintra

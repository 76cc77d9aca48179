#pragma once

#include <string>

namespace vintra {

/// Throws a `SystemError` of the domain "libav" if a call of FFmpeg's libraries gave a negative result. The
/// sentence says what couldn't be done, without a full stop. Any thread.
void throwIfLibavFailed(int result, const std::string& sentence);

} // namespace vintra

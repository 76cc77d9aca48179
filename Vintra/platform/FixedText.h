#pragma once

#include <string>

namespace vintra {

/// The number with that many decimals, as "%.*f" writes it, but with a point in every locale.
std::string fixedText(double value, int decimals);

} // namespace vintra

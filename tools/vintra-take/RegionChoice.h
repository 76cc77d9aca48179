#pragma once

#include "Vintra/capturearea/AspectPreset.h"
#include "tools/vintra-take/KnownDisplay.h"

#include <optional>
#include <string>

namespace vintra {

/// Reads X,Y,W,H, four numbers of which the first two aren't negative and the others above 0; nothing if the
/// text is anything else.
std::optional<CGRect> parseRegion(const std::string& text);

/// Why a picture of that shape can't be taken of the region, as a sentence that says what can; nothing if it
/// can. A region is never cut to what there is of it: the movie would be of another size than was asked for.
std::optional<std::string> regionProblem(const CGRect& region, AspectPreset aspect, const KnownDisplay& on);

} // namespace vintra

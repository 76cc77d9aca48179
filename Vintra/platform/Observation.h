#pragma once

#include <memory>

namespace vintra {

/// Ends the observing when it goes. Main thread.
using Observation = std::shared_ptr<void>;

} // namespace vintra

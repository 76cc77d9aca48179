#pragma once

namespace vintra {

/// Chooses how the windows are drawn, before the application object: by the processor where there is no graphics
/// hardware, which is cheaper than to imitate it. What the user says in the environment stays, but for a scale below 1.
void prepareRendering();

} // namespace vintra

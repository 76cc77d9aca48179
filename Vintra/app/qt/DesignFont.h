#pragma once

#include <QString>

namespace vintra {

/// The family of all text in the windows: that of `FlatControls::helveticaFace` where it is installed, else the nearest
/// that is. After the application object. Main thread.
QString designFontFamily();

} // namespace vintra

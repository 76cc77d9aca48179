#pragma once

#include "Vintra/platform/Drawing.h"

#include <functional>
#include <memory>

class QColorDialog;

namespace vintra {

/// The window in which the colour of the click ripples is chosen. It stays until the user closes it; each colour that is
/// pointed at counts at once. Owned by `ProgramOverlays`; main thread, while there is a QApplication.
class ClickColourPanel {
public:
    ClickColourPanel();
    ~ClickColourPanel();
    ClickColourPanel(const ClickColourPanel&) = delete;
    ClickColourPanel& operator=(const ClickColourPanel&) = delete;

    /// In front, with that colour. `onChange` takes the place of the one before.
    void show(const NSColor& color, std::function<void(NSColor)> onChange);
    void close();

private:
    std::unique_ptr<QColorDialog> dialog;
    std::function<void(NSColor)> onChange;
};

} // namespace vintra

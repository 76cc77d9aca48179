#pragma once

#include "tools/moving-picture/Content.h"
#include "tools/moving-picture/ContentWindow.h"

#include <optional>
#include <vector>

namespace vintra {

/// A film of 1280 × 720 pixels and 30 pictures a second in the middle of an empty screen: soft shapes that
/// drift, with grain. A second of it is painted beforehand and kept by the server, so that showing it costs
/// next to nothing.
class VideoContent : public Content {
public:
    VideoContent(Display* display, const std::optional<ContentWindow::Place>& place);
    Window window() const override { return screen.window; }
    ~VideoContent() override;
    void paint(int64_t milliseconds) override;

private:
    Pixmap makePicture(int number) const;

    ContentWindow screen;
    std::vector<Pixmap> pictures;
};

} // namespace vintra

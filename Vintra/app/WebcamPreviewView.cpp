#include "Vintra/app/WebcamPreviewView.h"

#include "Vintra/take/Text.h"

#include <utility>

namespace vintra {

WebcamPreviewView::WebcamPreviewView(FloatingPreviewContent content)
    : content(std::move(content)) {}

WebcamPreviewView::State WebcamPreviewView::state() const {
    State state{.showsControls = isHovering, .showsPreviewOnly = isHovering && !content.isRecording};
    for (size_t n = 0; n < content.sizes.size(); ++n)
        state.pills.push_back(
            {capitalised(content.sizes[n]).substr(0, 1), content.sizes[n], n == content.currentSize});
    return state;
}

void WebcamPreviewView::pick(size_t size) {
    if (size < content.sizes.size() && content.onPick) content.onPick(size);
}

void WebcamPreviewView::close() {
    if (content.onClose) content.onClose();
}

} // namespace vintra

#pragma once

#include "Vintra/platform/Geometry.h"

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace vintra {

class AVCaptureSession;

/// What a preview window shows: a camera's picture over its whole area, and on hover the sizes to choose from,
/// a close button and, unless a take runs, a mark that this is only a preview.
struct FloatingPreviewContent {
    std::shared_ptr<AVCaptureSession> session;
    std::vector<std::string> sizes; ///< their names, smallest first
    size_t currentSize = 0;         ///< index of the chosen one
    bool isRecording = false;
    std::function<void(size_t)> onPick; ///< another of the sizes was chosen
    std::function<void()> onClose;
};

/// How a preview window is made: without a title bar, above ordinary windows, in every state of the program,
/// moved by dragging its picture and resized at its corner. Sizes in points.
struct FloatingPreviewRecipe {
    CGRect frame;
    CGSize contentAspectRatio;
    CGSize contentMinSize;
    std::string frameAutosaveName; ///< under this the window's place and size are kept between runs
};

/// A window that floats above the others and shows what a camera sends. It goes with its last reference. Main
/// thread.
class FloatingPreviewWindow {
public:
    virtual ~FloatingPreviewWindow() = default;
    /// Points, on the desktop.
    virtual CGRect frame() const = 0;
    /// Animated. The new place and size are kept under the autosave name.
    virtual void setFrame(const CGRect& frame) = 0;
    /// Whether a place and size were ever kept under the autosave name, in this run or before.
    virtual bool hasSavedFrame() const = 0;
    virtual void setContent(FloatingPreviewContent content) = 0;
    virtual void orderFront() = 0;
    /// Takes it off the screen; it keeps its place.
    virtual void orderOut() = 0;
    /// 0 is not to be seen, 1 is opaque.
    virtual void setAlphaValue(double alpha) = 0;
    /// Whether clicks go through to what lies below.
    virtual void setIgnoresMouseEvents(bool ignores) = 0;
    /// For good.
    virtual void close() = 0;
};

/// Makes the windows in which cameras are seen outside of the main window. A program that has windows draws
/// them. Main thread.
class FloatingPreviewWindows {
public:
    virtual ~FloatingPreviewWindows() = default;
    /// Not yet on the screen. Where a frame is kept under the autosave name, it stands there instead of at the
    /// recipe's.
    virtual std::shared_ptr<FloatingPreviewWindow> makeWindow(const FloatingPreviewRecipe& recipe) = 0;
    /// The part of the main screen, else of the first, that panels and docks leave free, in points on the
    /// desktop; empty without a screen.
    virtual CGRect visibleFrame() const = 0;
};

/// Of a program without windows.
class NoFloatingPreviewWindows final : public FloatingPreviewWindows {
public:
    std::shared_ptr<FloatingPreviewWindow> makeWindow(const FloatingPreviewRecipe& recipe) override {
        return std::make_shared<Unseen>(recipe.frame);
    }
    CGRect visibleFrame() const override { return {}; }

private:
    class Unseen final : public FloatingPreviewWindow {
    public:
        explicit Unseen(const CGRect& frame)
            : place(frame) {}
        CGRect frame() const override { return place; }
        void setFrame(const CGRect& newFrame) override { place = newFrame; }
        bool hasSavedFrame() const override { return true; }
        void setContent(FloatingPreviewContent) override {}
        void orderFront() override {}
        void orderOut() override {}
        void setAlphaValue(double) override {}
        void setIgnoresMouseEvents(bool) override {}
        void close() override {}

    private:
        CGRect place;
    };
};

} // namespace vintra

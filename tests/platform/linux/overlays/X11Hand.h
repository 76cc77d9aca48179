#pragma once

#include <string>
#include <vector>

typedef struct _XDisplay Display;

namespace vintra {

/// A user's hands on an X desktop: pointer and keys, by the XTEST extension, over a connection of its own. Every call
/// returns when the server has done it. One thread.
class X11Hand {
public:
    explicit X11Hand(const std::string& displayName);
    ~X11Hand();
    X11Hand(const X11Hand&) = delete;
    X11Hand& operator=(const X11Hand&) = delete;

    void move(int x, int y);
    void press(unsigned button = 1);
    void release(unsigned button = 1);
    void click(int x, int y, unsigned button = 1);
    /// In several steps.
    void drag(int fromX, int fromY, int toX, int toY);
    /// By its name: "Return", "1".
    void type(const std::string& key);
    /// The window that has the keyboard.
    unsigned long focus() const;
    void setFocus(unsigned long window);
    /// Whether a compositor runs.
    bool isComposited() const;

private:
    ::Display* display;
};

/// A program that writes down the clicks and keys that reach its window.
class X11ClickedWindow {
public:
    X11ClickedWindow(const std::string& displayName, int x, int y, int width, int height,
                     unsigned long ground);
    ~X11ClickedWindow();
    X11ClickedWindow(const X11ClickedWindow&) = delete;
    X11ClickedWindow& operator=(const X11ClickedWindow&) = delete;

    struct Click {
        int x = 0; ///< on the root window
        int y = 0;
        unsigned button = 0;
        bool operator==(const Click&) const = default;
    };
    /// Those that have come by now.
    const std::vector<Click>& clicks();
    int keys();
    unsigned long id() const { return window; }
    void move(int x, int y);
    void raise();

private:
    void read();

    ::Display* display;
    unsigned long window = 0;
    std::vector<Click> clicked;
    int typed = 0;
};

} // namespace vintra

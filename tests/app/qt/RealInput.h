#pragma once

#include <QPoint>
#include <memory>
#include <string>

namespace vintra {

/// A hand on the mouse and the keyboard of the X server: what it does goes the way of every user's doing. One thread.
class RealInput {
public:
    RealInput();
    ~RealInput();
    RealInput(const RealInput&) = delete;
    RealInput& operator=(const RealInput&) = delete;

    /// In pixels of the screen.
    void moveTo(QPoint place);
    void press();
    void release();
    /// One notch.
    void wheel(bool up);
    /// A key by its X name, with modifiers held: "Tab", "Return", "a".
    void key(const std::string& name, bool control = false, bool shift = false);
    /// Small letters, digits and the underscore.
    void type(const std::string& text);

private:
    struct Connection;
    const std::unique_ptr<Connection> connection;
};

} // namespace vintra

#pragma once

#include "tests/app/qt/AccessibleItems.h"
#include "tests/app/qt/RealInput.h"

#include <QQuickItem>
#include <QQuickWindow>
#include <functional>
#include <gtest/gtest.h>
#include <string>

namespace vintra {

/// Uses windows as a user does, and waits for what comes of it. `pass` lets a moment pass: it runs Qt's events, and
/// whatever else the machine behind the windows needs. One thread.
class WindowHand {
public:
    explicit WindowHand(std::function<void()> pass);

    /// Lets time pass until it holds; false after 20 s.
    bool until(const std::function<bool()>& condition);
    /// Until the window is on the screen and has drawn.
    bool awaitShown(QQuickWindow* window);
    void moments(int count);
    /// Until the next press can't be the second of a double click.
    void letDoubleClickPass();

    void pointAt(const QQuickItem* item);
    /// The control with that name, once it is there. Fails the test if it doesn't come.
    void click(QQuickWindow& window, const QString& name);
    void clickItem(const QQuickItem* item);
    void key(const std::string& name, bool control = false, bool shift = false);
    void type(const std::string& text);
    /// Presses there, moves by that much and lets go.
    void drag(const QQuickItem* item, QPoint by);

    /// Gives the control of that name the keyboard's focus.
    void focus(QQuickWindow& window, const QString& name);

    /// Leaves a picture of the window as it is now, once it is drawn, with the pointer elsewhere.
    void picture(QQuickWindow& window, const std::string& name);
    /// The same with the pointer where it is.
    void pictureUnderPointer(QQuickWindow& window, const std::string& name);

private:
    void drawAnew(QQuickWindow& window);

    const std::function<void()> pass;
    RealInput input;
};

} // namespace vintra

#pragma once

#include "tests/support/ScreenPicture.h"

#include <string>
#include <vector>

namespace vintra {

/// The Wayland session that the tests run in, as a user would handle it. All of it one thread's.
namespace WaylandSession {

/// Whether there is one.
bool isThere();
/// Tells sway to do something; false if it didn't.
bool sway(const std::vector<std::string>& command);
/// Gives the display that size and waits until it has it.
bool resize(const std::string& display, int width, int height);
/// Answers the portal's next questions with that display; an empty name refuses.
void choose(const std::string& display);
/// Leaves the portal's next question open for as long as this lives. Then it is refused.
class OpenQuestion {
public:
    OpenQuestion();
    ~OpenQuestion();
    OpenQuestion(const OpenQuestion&) = delete;
    OpenQuestion& operator=(const OpenQuestion&) = delete;
    /// Until the portal asks; false after 10 s.
    bool awaitAsked();

private:
    int answer = -1;
};
/// Takes what the portal shares out of PipeWire, as when a display is unplugged: sway keeps its displays
/// without a screen for ever. True if there was something.
bool endSharing();
/// What another program sees on the display, without the pointer.
ScreenPicture screenshot(const std::string& display);
/// The path of a program of this build.
std::string program(const std::string& name);

} // namespace WaylandSession

} // namespace vintra

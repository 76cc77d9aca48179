#pragma once

#include <memory>
#include <string>
#include <vector>

namespace vintra {

/// The GNOME or KDE session that the tests run in, as its user would handle it. All of it one thread's.
namespace PortalDesktop {

bool isGnome();
bool isKde();
/// Whether it is one of them.
bool isThere();
/// The name of the first display, or of another.
std::string display(int number = 0);
/// The portal's next question for `display` in that list of tokens is answered beforehand, with `granted` if another
/// one is named.
bool grant(const std::string& tokensFile, const std::string& display, const std::string& granted = {});
/// The same for the window of that title. KDE alone.
bool grantWindow(const std::string& tokensFile, const std::string& title);
/// As the desktop's settings do; counterclockwise. It returns before all programs know of it.
bool turn(const std::string& display, int degrees, int scale = 1);

/// The user's pointer.
class Pointer {
public:
    Pointer();
    ~Pointer();
    Pointer(const Pointer&) = delete;
    Pointer& operator=(const Pointer&) = delete;
    bool isThere() const;
    /// To that place of the first display, pixels.
    bool moveTo(int x, int y);

private:
    struct Bus;
    bool moveBy(double x, double y);
    std::unique_ptr<Bus> bus;
};

} // namespace PortalDesktop

} // namespace vintra

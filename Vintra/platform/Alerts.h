#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace vintra {

/// A question or a message that keeps the user from the rest of the program until it is answered.
struct Alert {
    bool isWarning = false;
    std::string messageText;
    std::string informativeText;
    std::vector<std::string> buttons; ///< the default one first
    bool operator==(const Alert&) const = default;
};

/// Shows such messages. Main thread.
class Alerts {
public:
    virtual ~Alerts() = default;
    /// The function is called later, once, with the index of the button; closing the alert is its last button.
    virtual void runModal(const Alert& alert, std::function<void(size_t button)> onAnswer) = 0;
};

} // namespace vintra

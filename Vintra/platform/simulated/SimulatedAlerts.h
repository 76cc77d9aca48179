#pragma once

#include "Vintra/platform/Alerts.h"

#include <functional>
#include <utility>
#include <vector>

namespace vintra {

/// Alerts that stay open until the test answers the oldest of them. Main thread.
class SimulatedAlerts final : public Alerts {
public:
    std::vector<Alert> open;

    void runModal(const Alert& alert, std::function<void(size_t)> onAnswer) override {
        open.push_back(alert);
        answers.push_back(std::move(onAnswer));
    }
    void answer(size_t button) {
        const auto onAnswer = std::move(answers.front());
        answers.erase(answers.begin());
        open.erase(open.begin());
        onAnswer(button);
    }

private:
    std::vector<std::function<void(size_t)>> answers;
};

} // namespace vintra

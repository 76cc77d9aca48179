#include "Vintra/platform/simulated/SimulatedRateConversion.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace vintra {

namespace {

constexpr int64_t kReach = 16;     ///< neighbours to either side
constexpr int kWindowSteps = 2048; ///< of the table, for each neighbour

/// The right half of a Blackman-Harris window over the neighbours, in steps.
std::vector<double> makeWindow() {
    std::vector<double> window;
    for (int64_t step = 0; step <= kReach * kWindowSteps + 1; ++step) {
        const double phase = std::numbers::pi * (static_cast<double>(step) / (kReach * kWindowSteps) + 1);
        window.push_back(0.35875 - 0.48829 * std::cos(phase) + 0.14128 * std::cos(2 * phase) -
                         0.01168 * std::cos(3 * phase));
    }
    return window;
}

class SimulatedRateConverter : public RateConverter {
public:
    SimulatedRateConverter(uint32_t channels, double stretch)
        : channels(channels)
        , stretch(stretch) {}

    void convert(std::span<const float> frames, std::vector<float>& out) override {
        held.insert(held.end(), frames.begin(), frames.end());
        taken += static_cast<int64_t>(frames.size() / channels);
        while (static_cast<double>(made) / stretch + kReach < static_cast<double>(taken))
            makeFrame(out);
        const int64_t needed = static_cast<int64_t>(static_cast<double>(made) / stretch) - kReach;
        if (needed - first < 48'000) return;
        held.erase(held.begin(), held.begin() + static_cast<std::ptrdiff_t>(needed - first) * channels);
        first = needed;
    }

    void finish(std::vector<float>& out) override {
        while (made < std::llround(static_cast<double>(taken) * stretch))
            makeFrame(out);
    }

private:
    void makeFrame(std::vector<float>& out) {
        const double place = static_cast<double>(made++) / stretch;
        const auto nearest = static_cast<int64_t>(std::floor(place));
        weigh(place - static_cast<double>(nearest));
        for (uint32_t channel = 0; channel < channels; ++channel) {
            double sum = 0;
            for (int64_t index = 0; index < 2 * kReach; ++index) {
                const int64_t frame = nearest - kReach + 1 + index;
                if (frame < first || frame >= taken) continue;
                const auto at = static_cast<size_t>(frame - first) * channels + channel;
                sum += static_cast<double>(held[at]) * weights[static_cast<size_t>(index)];
            }
            out.push_back(static_cast<float>(sum));
        }
    }

    /// The windowed sinc of the neighbours' distances, of a place that far behind the one it follows.
    void weigh(double fraction) {
        const double sine = std::sin(std::numbers::pi * fraction);
        for (int64_t index = 0; index < 2 * kReach; ++index) {
            const double distance = fraction + static_cast<double>(kReach - 1 - index);
            const double step = std::fabs(distance) * kWindowSteps;
            const auto below = static_cast<size_t>(step);
            const double rest = step - static_cast<double>(below);
            const double value = window[below] * (1 - rest) + window[below + 1] * rest;
            // The sine of a whole turn and a half further has the other sign.
            const double sign = (kReach - 1 - index) % 2 == 0 ? 1 : -1;
            weights[static_cast<size_t>(index)] =
                std::fabs(distance) < 1e-9 ? 1 : sign * sine / (std::numbers::pi * distance) * value;
        }
    }

    const uint32_t channels;
    const double stretch;
    const std::vector<double> window = makeWindow();
    std::vector<double> weights = std::vector<double>(static_cast<size_t>(2 * kReach));
    std::vector<float> held;
    int64_t first = 0; ///< frame that `held` begins with
    int64_t taken = 0;
    int64_t made = 0;
};

} // namespace

std::unique_ptr<RateConverter> SimulatedRateConversion::makeConverter(uint32_t channels, double stretch) {
    return std::make_unique<SimulatedRateConverter>(channels, stretch);
}

} // namespace vintra

#include "tests/programs/NumberedSoundAccount.h"

#include "tests/programs/NumberedSound.h"

#include <cmath>
#include <utility>

namespace vintra {
namespace {

/// Follows the frames, each given as its number within the period, or -1 for silence, or -2 for neither.
class Accountant {
public:
    void see(int64_t number) {
        if (number == -2) ++account.altered;
        if (number == -1) silence += account.played > 0;
        if (number < 0) return;
        account.silent += std::exchange(silence, 0); // that behind the last frame isn't in the middle
        const int64_t step = account.played == 0
                                 ? number + 1
                                 : (number - previous + NumberedSound::kPeriod) % NumberedSound::kPeriod;
        account.repeated += step == 0;
        account.lost += step > 1 ? step - 1 : 0;
        account.played += step != 0;
        previous = number;
    }
    NumberedSoundAccount account;

private:
    int64_t previous = 0;
    int64_t silence = 0;
};

} // namespace

std::string NumberedSoundAccount::text() const {
    return std::to_string(played) + " played, " + std::to_string(lost) + " lost, " +
           std::to_string(repeated) + " repeated, " + std::to_string(silent) + " silent, " +
           std::to_string(altered) + " altered";
}

/// 16 bits become 24 in the take, 6 dB softer. Half a step of 16 bits is 64 of 24, so the last bit can be
/// asked of each.
NumberedSoundAccount accountOf(const RecordedWav& wav) {
    const double scale = 256.0 * std::pow(10.0, -6.0 / 20);
    Accountant accountant;
    for (int64_t frame = 0; frame < wav.frames(); ++frame) {
        const int32_t left = wav.at(frame, 0);
        const int32_t right = wav.at(frame, 1);
        if (left == 0 && right == 0) {
            accountant.see(-1);
            continue;
        }
        const int64_t level = std::lround(left / scale);
        const double exact = static_cast<double>(level) * scale;
        const bool isWhole = std::fabs(left - exact) <= 1 && std::fabs(right + exact) <= 1;
        accountant.see(isWhole ? level - NumberedSound::kFirstLevel : -2);
    }
    return accountant.account;
}

/// On the monitor the relay's way changes nothing.
NumberedSoundAccount accountOf(const std::vector<float>& heard) {
    Accountant accountant;
    for (size_t at = 0; at + 1 < heard.size(); at += 2) {
        if (heard[at] == 0 && heard[at + 1] == 0) {
            accountant.see(-1);
            continue;
        }
        const float level = heard[at] * 32'768;
        const bool isWhole = level == std::round(level) && heard[at + 1] == -heard[at];
        accountant.see(isWhole ? std::lround(level) - NumberedSound::kFirstLevel : -2);
    }
    return accountant.account;
}

} // namespace vintra

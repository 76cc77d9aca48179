#include "Vintra/take/PictureStall.h"

#include "Vintra/platform/FixedText.h"
#include "Vintra/take/Text.h"
#include "Vintra/take/Words.h"

#include <algorithm>

namespace vintra {
namespace {

constexpr size_t kStretchesTold = 3;

std::string stretchText(const PictureWatch::Stretch& stretch) {
    return "from " + timecodeString(std::max(0.0, stretch.from)) + " to " +
           (stretch.to ? timecodeString(*stretch.to) : "the end of the recording");
}

std::string frozenText(const std::vector<PictureWatch::Stretch>& stretches) {
    std::vector<std::string> told;
    for (size_t i = 0; i < std::min(stretches.size(), kStretchesTold); ++i)
        told.push_back(stretchText(stretches[i]));
    std::string text = "froze " + joined(told, ", and ");
    if (stretches.size() > kStretchesTold) {
        text += ", and " + std::to_string(stretches.size() - kStretchesTold) + " more times";
    }
    return text;
}

std::string logLine(const std::string& label, const PictureWatch::Account& account) {
    std::vector<std::string> stretches;
    for (const auto& stretch : account.frozen) {
        stretches.push_back(fixedText(stretch.from, 2) + "–" +
                            (stretch.to ? fixedText(*stretch.to, 2) : "end"));
    }
    return "camera picture on " + label + ": froze " + (stretches.empty() ? "–" : joined(stretches, ", ")) +
           " · stopped at " + (account.stoppedAt ? fixedText(*account.stoppedAt, 2) : "–");
}

} // namespace

std::optional<PictureStall> pictureStall(const std::string& label, const PictureWatch::Account& account) {
    if (account.frozen.empty() && !account.stoppedAt) return std::nullopt;
    std::vector<std::string> parts;
    if (!account.frozen.empty()) parts.push_back(frozenText(account.frozen));
    if (account.stoppedAt)
        parts.push_back("stopped sending a picture at " + timecodeString(*account.stoppedAt));
    return PictureStall{capitalised(label) + " " + joined(parts, ", and ") + ".", logLine(label, account)};
}

} // namespace vintra

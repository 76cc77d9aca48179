#pragma once

#include "tests/support/TemporaryFolder.h"

#include <cstdint>
#include <string>
#include <vector>

namespace vintra {

/// A stereo sound whose every frame says which one it is: left counts up in steps of one 16-bit level within
/// levels that are far from silence, right is its negative.
namespace NumberedSound {

inline constexpr int64_t kPeriod = 30'000; ///< frames until the count begins anew
inline constexpr int32_t kFirstLevel = 1000;

/// Left's 16-bit level at a frame.
inline int32_t level(int64_t frame) {
    return kFirstLevel + static_cast<int32_t>(frame % kPeriod);
}

/// A 16-bit WAV at 48 kHz.
inline URL write(const TemporaryFolder& folder, const std::string& name, int64_t frames) {
    const auto number = [](std::string& to, uint32_t value, int bytes) {
        for (int i = 0; i < bytes; ++i)
            to.push_back(static_cast<char>(value >> 8 * i));
    };
    const auto dataBytes = static_cast<uint32_t>(frames * 4);
    std::string text = "RIFF";
    number(text, 36 + dataBytes, 4);
    text += "WAVEfmt ";
    for (const auto& [value, bytes] : std::vector<std::pair<uint32_t, int>>{
             {16, 4}, {1, 2}, {2, 2}, {48'000, 4}, {192'000, 4}, {4, 2}, {16, 2}})
        number(text, value, bytes);
    text += "data";
    number(text, dataBytes, 4);
    text.reserve(text.size() + dataBytes);
    for (int64_t frame = 0; frame < frames; ++frame) {
        number(text, static_cast<uint32_t>(level(frame)), 2);
        number(text, static_cast<uint32_t>(-level(frame)), 2);
    }
    return folder.write(name, text);
}

} // namespace NumberedSound

} // namespace vintra

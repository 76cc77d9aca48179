#pragma once

#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace vintra {

/// A sound input that the machine has.
struct KnownInput {
    std::string id;
    std::string name;
    int channels = 1;
    double rate = 0; ///< hertz; 0 if it can't be read
};

/// A channel of a sound input that the take is to record.
struct InputChoice {
    std::string deviceID;
    int channelIndex = 0; ///< from 0
    std::string name;     ///< empty: default naming
    double gainDB = 0;
    bool operator==(const InputChoice&) const = default;
};

/// A sentence that says why there is no such choice.
struct InputProblem {
    std::string sentence;
    bool isUsage = false; ///< wrong whatever devices there are
};

/// Reads ID[:CHANNEL[:NAME[:DB]]], channels from 1, an empty field standing for its default. Ids may hold
/// colons themselves, so the longest id of a known input that the text begins with is the one meant. `fields`
/// is how many may follow the id: 1 for a microphone, 3 for a further input.
std::variant<InputChoice, InputProblem> parseInputChoice(const std::string& text,
                                                         const std::vector<KnownInput>& inputs, int fields);

} // namespace vintra

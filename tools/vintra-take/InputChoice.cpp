#include "tools/vintra-take/InputChoice.h"

#include "tools/vintra-take/Numbers.h"

namespace vintra {
namespace {

const KnownInput* inputMeant(const std::string& text, const std::vector<KnownInput>& inputs) {
    const KnownInput* longest = nullptr;
    for (const KnownInput& input : inputs) {
        const bool meant = text == input.id || text.starts_with(input.id + ":");
        if (meant && (!longest || input.id.size() > longest->id.size())) longest = &input;
    }
    return longest;
}

/// The fields between colons; none for no text.
std::vector<std::string> fieldsOf(const std::string& text) {
    std::vector<std::string> fields;
    size_t begin = 0;
    while (begin < text.size() && text[begin] == ':') {
        const size_t end = text.find(':', begin + 1);
        fields.push_back(text.substr(begin + 1, end == std::string::npos ? end : end - begin - 1));
        begin = end == std::string::npos ? text.size() : end;
    }
    return fields;
}

std::string countOfChannels(int channels) {
    return channels == 1 ? "1 channel" : std::to_string(channels) + " channels";
}

} // namespace

std::variant<InputChoice, InputProblem> parseInputChoice(const std::string& text,
                                                         const std::vector<KnownInput>& inputs, int fields) {
    const KnownInput* input = inputMeant(text, inputs);
    if (!input) {
        return InputProblem{inputs.empty()
                                ? "There is no sound input “" + text + "”: this machine has none."
                                : "There is no sound input “" + text + "”. --list shows the ones there are."};
    }
    const auto given = fieldsOf(text.substr(input->id.size()));
    if (given.size() > static_cast<size_t>(fields)) {
        return InputProblem{"“" + text + "” says too much: after the id come the channel" +
                                (fields > 1 ? ", the name and the gain." : " and nothing else."),
                            true};
    }
    InputChoice choice{.deviceID = input->id, .channelIndex = 0, .name = {}, .gainDB = 0};
    if (!given.empty() && !given[0].empty()) {
        const auto channel = wholeTextAsWholeNumber(given[0]);
        if (!channel || *channel < 1)
            return InputProblem{"“" + given[0] + "” in “" + text + "” is no channel: they count from 1.",
                                true};
        if (*channel > input->channels) {
            return InputProblem{"“" + input->name + "” has " + countOfChannels(input->channels) +
                                ": there is no channel " + given[0] + "."};
        }
        choice.channelIndex = static_cast<int>(*channel - 1);
    }
    if (given.size() > 1) choice.name = given[1];
    if (given.size() > 2 && !given[2].empty()) {
        const auto gain = wholeTextAsNumber(given[2]);
        if (!gain || !(*gain >= -kLargestGain && *gain <= kLargestGain)) {
            return InputProblem{"“" + given[2] + "” in “" + text + "” is no gain in dB from -60 to 60.",
                                true};
        }
        choice.gainDB = *gain;
    }
    return choice;
}

} // namespace vintra

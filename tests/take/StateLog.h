#pragma once

#include "Vintra/take/ScreenRecorderManager.h"

#include <string>
#include <vector>

namespace vintra {

/// What a recorder's published state of a take was set to, in order. A test makes one before the operation
/// that it looks at.
class StateLog {
public:
    explicit StateLog(ScreenRecorderManager& recorder) {
        const auto note = [this](const char* name, auto& published, auto text) {
            observations.push_back(published.observe(
                [this, name, text](const auto& value) { lines.push_back(name + (" " + text(value))); }));
        };
        const auto flag = [](bool value) { return std::string(value ? "yes" : "no"); };
        const auto isSet = [](const auto& value) { return std::string(value.has_value() ? "set" : "none"); };
        const auto itself = [](const std::string& value) { return value; };
        note("busy", recorder.isBusy, flag);
        note("recording", recorder.isRecording, flag);
        note("error", recorder.lastError, isSet);
        note("date", recorder.recordingStartDate, isSet);
        note("markers", recorder.markerCount, [](int value) { return std::to_string(value); });
        note("mic", recorder.activeMicTrack, flag);
        note("second", recorder.activeDawTrack, flag);
        note("webcam", recorder.activeWebcamTrack, flag);
        note("status", recorder.statusMessage, itself);
    }

    std::vector<std::string> lines;

private:
    std::vector<Observation> observations;
};

} // namespace vintra

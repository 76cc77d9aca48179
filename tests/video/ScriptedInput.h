#pragma once

#include "Vintra/platform/AVAssetWriter.h"

#include <functional>
#include <memory>
#include <vector>

namespace vintra {

/// A movie's input whose readiness and refusals a test scripts, and which keeps what it took.
class ScriptedInput : public AVAssetWriterInput {
public:
    std::function<bool()> ready = [] { return true; };
    std::function<bool(const CMSampleBuffer&)> accepts = [](const CMSampleBuffer&) { return true; };
    std::vector<CMSampleBuffer> appended;
    std::vector<CMTime> extended;
    int refused = 0;

    AVMediaType mediaType() const override { return AVMediaType::video; }
    const AVOutputSettings& outputSettings() const override { return settings; }
    bool expectsMediaDataInRealTime() const override { return true; }
    bool isReadyForMoreMediaData() const override { return ready(); }
    bool append(const CMSampleBuffer& sample) override {
        if (!accepts(sample)) {
            ++refused;
            return false;
        }
        appended.push_back(sample);
        return true;
    }
    void extendLast(CMTime to) override { extended.push_back(to); }
    void markAsFinished() override {}

private:
    AVOutputSettings settings = AVVideoSettings{};
};

/// A small picture of its own, captured at that time.
inline CMSampleBuffer picture(CMTime pts) {
    return CMSampleBuffer::makeVideo(
        CVPixelBuffer::make(kCVPixelFormatType_32BGRA, 2, 2),
        {.duration = kCMTimeInvalid, .presentationTimeStamp = pts, .decodeTimeStamp = kCMTimeInvalid});
}

} // namespace vintra

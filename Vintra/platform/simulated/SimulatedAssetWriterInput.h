#pragma once

#include "Vintra/platform/AVAssetWriter.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace vintra {

class SimulatedAssetWriter;

/// A track of a simulated file. Keeps every sample that was appended. One real thread.
class SimulatedAssetWriterInput : public AVAssetWriterInput {
public:
    struct Append {
        CMSampleBuffer sample;
        CMTime at;               ///< host time of the call
        bool isAccepted = false; ///< what the call gave
    };

    SimulatedAssetWriterInput(AVOutputSettings settings, bool isRealTime);

    AVMediaType mediaType() const override;
    const AVOutputSettings& outputSettings() const override { return settings; }
    bool expectsMediaDataInRealTime() const override { return isRealTime; }
    bool isReadyForMoreMediaData() const override;
    bool append(const CMSampleBuffer& sample) override;
    void extendLast(CMTime to) override;
    void markAsFinished() override;

    const AVVideoSettings* videoSettings() const { return std::get_if<AVVideoSettings>(&settings); }
    const AVAudioSettings* audioSettings() const { return std::get_if<AVAudioSettings>(&settings); }
    /// Only those that were taken, in order.
    std::vector<CMSampleBuffer> accepted() const;
    /// Their presentation times, exact.
    std::vector<CMTime> presentationTimes() const;
    bool isMarkedAsFinished() const { return isFinished; }

    std::vector<Append> appends; ///< every call, refused ones as well
    CMTime standsUntil;          ///< of the last picture, as far as it was told; invalid if it wasn't

private:
    friend class SimulatedAssetWriter;

    AVOutputSettings settings;
    bool isRealTime;
    std::weak_ptr<SimulatedAssetWriter> writer;
    size_t unwritten = 0; ///< samples that wait for the encoder
    CMTime lastPresentationTime;
    bool isFinished = false;
};

} // namespace vintra

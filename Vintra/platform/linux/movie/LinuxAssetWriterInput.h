#pragma once

#include "Vintra/platform/AVAssetWriter.h"
#include "Vintra/platform/linux/movie/WriterQueue.h"

namespace vintra {

/// An input whose samples go into its writer's `WriterQueue`. Shared by the core and the writer. `attach` is
/// called on the main thread before the session; then one thread at a time appends.
class LinuxAssetWriterInput final : public AVAssetWriterInput {
public:
    LinuxAssetWriterInput(AVOutputSettings settings, bool expectsMediaDataInRealTime);

    AVMediaType mediaType() const override;
    const AVOutputSettings& outputSettings() const override { return settings; }
    bool expectsMediaDataInRealTime() const override { return realTime; }
    bool isReadyForMoreMediaData() const override;
    bool append(const CMSampleBuffer& sample) override;
    void extendLast(CMTime to) override;
    void markAsFinished() override;

    bool isAttached() const { return queue != nullptr; }
    /// Joins a writer's line; its index there is the number of the track.
    void attach(std::shared_ptr<WriterQueue> to);

private:
    int64_t capacity() const;
    int64_t cost(const CMSampleBuffer& sample) const;
    bool isUsable(const CMSampleBuffer& sample) const;
    bool isInOrder(CMTime time) const;

    const AVOutputSettings settings;
    const bool realTime;
    std::shared_ptr<WriterQueue> queue;
    size_t index = 0;
    // Of the appending thread.
    CMTime lastTime = kCMTimeInvalid;
    CMTime standsUntil = kCMTimeInvalid; ///< as far as was told of the last picture
};

} // namespace vintra

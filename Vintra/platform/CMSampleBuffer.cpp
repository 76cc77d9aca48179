#include "Vintra/platform/CMSampleBuffer.h"

#include <utility>

namespace vintra {

CMSampleBuffer CMSampleBuffer::makeAudio(std::shared_ptr<CMBlockBuffer> data,
                                         std::shared_ptr<const CMFormatDescription> format,
                                         int64_t numSamples, CMSampleTimingInfo timing) {
    CMSampleBuffer sample;
    if (!data || !format || numSamples < 1) return sample;
    auto payload = std::make_shared<Payload>();
    payload->data = std::move(data);
    payload->format = std::move(format);
    payload->numSamples = numSamples;
    sample.header = std::make_shared<const Header>(Header{timing, std::move(payload)});
    return sample;
}

CMSampleBuffer CMSampleBuffer::makeVideo(std::shared_ptr<CVPixelBuffer> image, CMSampleTimingInfo timing,
                                         std::vector<CMSampleAttachments> attachments) {
    auto payload = std::make_shared<Payload>();
    payload->image = std::move(image);
    payload->numSamples = 1;
    payload->attachments = std::move(attachments);
    CMSampleBuffer sample;
    sample.header = std::make_shared<const Header>(Header{timing, std::move(payload)});
    return sample;
}

CMTime CMSampleBuffer::presentationTimeStamp() const {
    return header ? header->timing.presentationTimeStamp : kCMTimeInvalid;
}

CMTime CMSampleBuffer::duration() const {
    if (!header) return kCMTimeInvalid;
    const CMTime one = header->timing.duration;
    const int64_t count = header->payload->numSamples;
    if (!one.isNumeric() || count == 1) return one;
    return CMTimeMultiply(one, static_cast<int32_t>(count));
}

CMSampleTimingInfo CMSampleBuffer::timing() const {
    return header ? header->timing : CMSampleTimingInfo{};
}

int64_t CMSampleBuffer::numSamples() const {
    return header ? header->payload->numSamples : 0;
}

std::shared_ptr<CVPixelBuffer> CMSampleBuffer::imageBuffer() const {
    return header ? header->payload->image : nullptr;
}

std::shared_ptr<CMBlockBuffer> CMSampleBuffer::dataBuffer() const {
    return header ? header->payload->data : nullptr;
}

std::shared_ptr<const CMFormatDescription> CMSampleBuffer::formatDescription() const {
    return header ? header->payload->format : nullptr;
}

const std::vector<CMSampleAttachments>& CMSampleBuffer::attachments() const {
    static const std::vector<CMSampleAttachments> none;
    return header ? header->payload->attachments : none;
}

std::optional<CMSampleBuffer> CMSampleBufferCreateCopyWithNewTiming(const CMSampleBuffer& sample,
                                                                    CMSampleTimingInfo timing) {
    if (!sample.header) return std::nullopt;
    if (!sample.header->payload->image && !sample.header->payload->data) return std::nullopt;
    CMSampleBuffer copy;
    copy.header = std::make_shared<const CMSampleBuffer::Header>(
        CMSampleBuffer::Header{timing, sample.header->payload});
    return copy;
}

} // namespace vintra

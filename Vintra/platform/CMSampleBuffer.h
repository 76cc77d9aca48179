#pragma once

#include "Vintra/platform/CMBlockBuffer.h"
#include "Vintra/platform/CMFormatDescription.h"
#include "Vintra/platform/CMTime.h"
#include "Vintra/platform/CVPixelBuffer.h"

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace vintra {

struct CMSampleTimingInfo {
    CMTime duration; ///< of one sample: a whole picture, or one frame of sound
    CMTime presentationTimeStamp;
    CMTime decodeTimeStamp;
};

using CMAttachmentValue = std::variant<int64_t, double, std::string>;
using CMSampleAttachments = std::map<std::string, CMAttachmentValue>;

/// A picture or a run of sound frames with its times on the host clock. A handle: copying it shares header
/// and payload, and a retimed copy has a header of its own around the same payload. Headers never change, so
/// any thread.
class CMSampleBuffer {
public:
    /// An invalid sample: no payload, all times invalid.
    CMSampleBuffer() = default;

    /// Sound; invalid if there is no data, no format or no frame.
    static CMSampleBuffer makeAudio(std::shared_ptr<CMBlockBuffer> data,
                                    std::shared_ptr<const CMFormatDescription> format, int64_t numSamples,
                                    CMSampleTimingInfo timing);
    /// A picture. Null stands for a frame that carries a status and no picture.
    static CMSampleBuffer makeVideo(std::shared_ptr<CVPixelBuffer> image, CMSampleTimingInfo timing,
                                    std::vector<CMSampleAttachments> attachments = {});

    bool isValid() const { return header != nullptr; }
    CMTime presentationTimeStamp() const;
    /// Of the whole buffer: the duration of one sample times their number.
    CMTime duration() const;
    CMSampleTimingInfo timing() const;
    int64_t numSamples() const;
    /// Null where the sample has none.
    std::shared_ptr<CVPixelBuffer> imageBuffer() const;
    std::shared_ptr<CMBlockBuffer> dataBuffer() const;
    std::shared_ptr<const CMFormatDescription> formatDescription() const;
    /// One dictionary a sample; may be empty.
    const std::vector<CMSampleAttachments>& attachments() const;

private:
    struct Payload {
        std::shared_ptr<CVPixelBuffer> image;
        std::shared_ptr<CMBlockBuffer> data;
        std::shared_ptr<const CMFormatDescription> format;
        int64_t numSamples = 0;
        std::vector<CMSampleAttachments> attachments;
    };
    struct Header {
        CMSampleTimingInfo timing;
        std::shared_ptr<const Payload> payload;
    };
    std::shared_ptr<const Header> header;

    friend std::optional<CMSampleBuffer> CMSampleBufferCreateCopyWithNewTiming(const CMSampleBuffer&,
                                                                               CMSampleTimingInfo);
};

/// A sample with new times around the same payload, sharing its picture and bytes. Nothing if the sample is
/// invalid or has neither picture nor data.
std::optional<CMSampleBuffer> CMSampleBufferCreateCopyWithNewTiming(const CMSampleBuffer& sample,
                                                                    CMSampleTimingInfo timing);

} // namespace vintra

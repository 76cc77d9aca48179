#include "Vintra/audio/SoundTrackFile.h"

#include "Vintra/audio/ContainsNonZeroSample.h"

namespace vintra {

void SoundTrackFile::appendToOwnInputs(const CMSampleBuffer& buffer) {
    silenceDuringWarmup(buffer);
    const CMTime begin = buffer.presentationTimeStamp();
    if (!firstSamplePTS) firstSamplePTS = begin;
    if (!sawSignal) sawSignal = containsNonZeroSample(buffer);
    lastSamplePTS = begin + buffer.duration();
    if (input->isReadyForMoreMediaData()) {
        input->append(buffer);
    } else {
        ++droppedBufferCount;
    }
    appendIfReady(referenceInput.get(), buffer);
}

void SoundTrackFile::appendIfReady(AVAssetWriterInput* input, const CMSampleBuffer& buffer) {
    if (input != nullptr && input->isReadyForMoreMediaData()) input->append(buffer);
}

void SoundTrackFile::silenceDuringWarmup(const CMSampleBuffer& buffer) const {
    if (!warmupCutoff || !(buffer.presentationTimeStamp() < *warmupCutoff)) return;
    if (const auto data = buffer.dataBuffer()) data->fillDataBytes(0, 0, data->dataLength());
}

} // namespace vintra

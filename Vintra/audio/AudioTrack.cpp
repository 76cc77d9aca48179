#include "Vintra/audio/AudioTrack.h"

namespace vintra {

void AudioTrack::append(const CMSampleBuffer& buffer) {
    appendToOwnInputs(buffer);
    for (const auto& reference : webcamReferenceInputs)
        appendIfReady(reference.get(), buffer);
}

} // namespace vintra

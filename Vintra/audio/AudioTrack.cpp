#include "Vintra/audio/AudioTrack.h"

namespace vintra {

void AudioTrack::append(const CMSampleBuffer& buffer) {
    const CMSampleBuffer wanted = appendToOwnInputs(buffer);
    if (!wanted.isValid()) return;
    for (const auto& reference : webcamReferenceInputs)
        appendIfReady(reference.get(), wanted);
}

} // namespace vintra

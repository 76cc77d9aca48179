#pragma once

#include "Vintra/platform/AssetProbing.h"

namespace vintra {

/// Reads a media file's facts through libavformat, from its header where the header tells them all. Formats
/// are those that an editor takes in: QuickTime and MPEG-4, WAVE, AIFF, CAF, FLAC, MP3. A file that holds
/// less than its header promises counts as cut short, and one that claims more tracks, channels, hertz or pixels
/// than a file has isn't read at all. Any thread.
class LinuxAssetProbing : public AssetProbing {
public:
    /// Silences libav's log: the result of a load already says that a file can't be read.
    LinuxAssetProbing();
    std::unique_ptr<AVURLAsset> asset(const URL& url) override;
};

} // namespace vintra

#include "Vintra/take/WavRepair.h"

#include "Vintra/take/WavFile.h"

namespace vintra {
namespace {

constexpr uint64_t kBeforeRiffSize = 8; ///< bytes that the size of the whole doesn't count

} // namespace

void repairWavSizes(FileManager& files, const URL& at) {
    const auto header = readWavHeader(files, at);
    if (!header) return;
    const uint64_t held = header->fileSize - header->dataStart;
    const uint64_t samples = held - held % header->blockAlign;
    if (samples <= header->declaredDataSize) return;
    const uint64_t riffSize = header->dataStart + samples + samples % 2 - kBeforeRiffSize;
    const auto bytes = wavHeaderWithSizes(*header, riffSize, samples);
    const auto file = files.openForWriting(at);
    file->write(bytes.data(), bytes.size());
    file->synchronize();
    file->close();
}

} // namespace vintra

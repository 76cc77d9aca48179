#pragma once

#include "Vintra/platform/AVAssetWriter.h"
#include "Vintra/platform/linux/movie/LinuxAssetWriterInput.h"
#include "Vintra/platform/linux/movie/LinuxAssetWritersOptions.h"
#include "Vintra/platform/linux/movie/MediaFile.h"
#include "Vintra/platform/linux/movie/VideoEncoder.h"

#include <functional>
#include <future>
#include <memory>
#include <optional>
#include <thread>
#include <vector>

namespace vintra {

/// A writer with one thread of its own, which takes the samples from the `WriterQueue`, encodes them and
/// fills the file. Made by `LinuxAssetWriters`; main thread, but for `status` and `error`.
///
///     capture threads --append--> WriterQueue --pop--> writer's thread: MediaFile --> disk
///
/// Encoders that are made before the start are made on a thread that ends with that.
/// Neither cancelling nor failing waits for the thread. Destroying a writer that is still writing stops the
/// thread after the current sample and leaves the file as `MediaFile::abandon` does.
class LinuxAssetWriter final : public AVAssetWriter {
public:
    LinuxAssetWriter(const URL& outputURL, AVFileType fileType, const LinuxAssetWritersOptions& options);
    ~LinuxAssetWriter() override;

    const URL& outputURL() const override { return url; }
    bool canAdd(const AVAssetWriterInput& input) const override;
    void add(std::shared_ptr<AVAssetWriterInput> input) override;
    void prepare(std::function<void()> completion) override;
    bool startWriting() override;
    void startSession(CMTime atSourceTime) override;
    void finishWriting(std::function<void()> completion) override;
    void abandonFinish() override;
    void cancelWriting() override;
    AVAssetWriterStatus status() const override;
    std::optional<SystemError> error() const override;

private:
    /// What the thread shares with its writer, and may outlive it.
    struct Shared;
    std::vector<AVOutputSettings> settingsOfTracks() const;
    std::unique_ptr<MediaFile> makeFile();
    static void run(const std::shared_ptr<Shared>& shared, std::unique_ptr<MediaFile> file);

    const URL url;
    const AVFileType fileType;
    const LinuxAssetWritersOptions options;
    std::vector<std::shared_ptr<LinuxAssetWriterInput>> inputs;
    std::optional<SystemError> addError; ///< why one of the inputs can't be written
    bool finishing = false;
    bool isWaitedFor = true; ///< the thread, when this ends
    std::shared_ptr<Shared> shared;
    std::future<std::vector<std::unique_ptr<VideoEncoder>>>
        encoders; ///< of `preparation`, not valid without it
    std::thread preparation;
    std::thread thread;
};

} // namespace vintra

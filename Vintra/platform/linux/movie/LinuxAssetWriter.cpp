#include "Vintra/platform/linux/movie/LinuxAssetWriter.h"

#include "Vintra/platform/linux/movie/MovieFile.h"
#include "Vintra/platform/linux/movie/WaveFile.h"

#include <exception>
#include <functional>
#include <optional>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace vintra {

struct LinuxAssetWriter::Shared {
    explicit Shared(const LinuxAssetWritersOptions& options)
        : options(options) {}

    const LinuxAssetWritersOptions options;
    const std::shared_ptr<WriterQueue> queue = std::make_shared<WriterQueue>();
    mutable Mutex mutex;
    AVAssetWriterStatus status GUARDED_BY(mutex) = AVAssetWriterStatus::unknown;
    std::optional<SystemError> error GUARDED_BY(mutex);
    std::vector<std::function<void()>> completions GUARDED_BY(mutex);
    bool running GUARDED_BY(mutex) = false;

    /// Does nothing once the writer has ended.
    void fail(const SystemError& reason) {
        MutexLock lock(mutex);
        if (status != AVAssetWriterStatus::writing && status != AVAssetWriterStatus::unknown) return;
        status = AVAssetWriterStatus::failed;
        error = reason;
    }

    bool isWriting() const {
        MutexLock lock(mutex);
        return status == AVAssetWriterStatus::writing;
    }

    /// The thread's last act.
    void end(bool complete) {
        std::vector<std::function<void()>> toCall;
        {
            MutexLock lock(mutex);
            if (complete && status == AVAssetWriterStatus::writing) status = AVAssetWriterStatus::completed;
            running = false;
            toCall.swap(completions);
        }
        for (const auto& completion : toCall)
            completion();
    }

    void write(MediaFile& file) {
        CMTime start = kCMTimeInvalid;
        while (const auto item = queue->pop()) {
            if (!start.isValid()) start = queue->start();
            while (options.isDiskStuck && options.isDiskStuck() && !queue->isAbandoned())
                queue->pause(10'000);
            if (item->standsUntil) {
                file.extend(item->input, *item->standsUntil, start);
                continue;
            }
            if (options.encoderDelayMicroseconds > 0) queue->pause(options.encoderDelayMicroseconds);
            if (queue->isAbandoned()) return;
            file.write(item->input, item->sample, start);
        }
        if (!queue->isAbandoned()) file.finish();
    }
};

LinuxAssetWriter::LinuxAssetWriter(const URL& outputURL, AVFileType fileType,
                                   const LinuxAssetWritersOptions& options)
    : url(outputURL)
    , fileType(fileType)
    , options(options)
    , shared(std::make_shared<Shared>(options)) {}

LinuxAssetWriter::~LinuxAssetWriter() {
    if (!finishing) shared->queue->abandon();
    // A completion may hold the last reference to its writer.
    const auto end = [](std::thread& ended, bool mayWait) {
        if (!ended.joinable()) return;
        if (ended.get_id() == std::this_thread::get_id() || !mayWait)
            ended.detach();
        else
            ended.join();
    };
    end(preparation, true);
    end(thread, isWaitedFor);
}

bool LinuxAssetWriter::canAdd(const AVAssetWriterInput& input) const {
    if (status() != AVAssetWriterStatus::unknown) return false;
    const auto* own = dynamic_cast<const LinuxAssetWriterInput*>(&input);
    if (own == nullptr || own->isAttached()) return false;
    if (fileType == AVFileType::wave) return inputs.empty() && WaveFile::canWrite(input.outputSettings());
    return MovieFile::canWrite(input.outputSettings());
}

void LinuxAssetWriter::add(std::shared_ptr<AVAssetWriterInput> input) {
    if (!canAdd(*input)) {
        addError = SystemError("vintra", 1,
                               "The file “" + url.lastPathComponent() +
                                   "” can't hold a track with these settings. Pictures need even sizes.");
        return;
    }
    auto own = std::static_pointer_cast<LinuxAssetWriterInput>(std::move(input));
    own->attach(shared->queue);
    inputs.push_back(std::move(own));
}

std::vector<AVOutputSettings> LinuxAssetWriter::settingsOfTracks() const {
    std::vector<AVOutputSettings> tracks;
    for (const auto& input : inputs)
        tracks.push_back(input->outputSettings());
    return tracks;
}

void LinuxAssetWriter::prepare(std::function<void()> completion) {
    if (fileType == AVFileType::wave || addError || preparation.joinable()) {
        completion();
        return;
    }
    std::packaged_task<std::vector<std::unique_ptr<VideoEncoder>>()> task(
        [tracks = settingsOfTracks()] { return MovieFile::makeEncoders(tracks); });
    encoders = task.get_future();
    try {
        preparation = std::thread([making = std::move(task), done = completion]() mutable {
            making();
            done();
        });
    } catch (const std::system_error&) { // there are too many threads; the encoders are made later
        encoders = {};
        completion();
    }
}

std::unique_ptr<MediaFile> LinuxAssetWriter::makeFile() {
    if (addError) throw *addError;
    const std::vector<AVOutputSettings> tracks = settingsOfTracks();
    if (fileType == AVFileType::wave) return WaveFile::create(url, tracks);
    std::vector<std::unique_ptr<VideoEncoder>> made;
    if (encoders.valid()) made = encoders.get();
    return MovieFile::create(url, tracks, std::move(made));
}

bool LinuxAssetWriter::startWriting() {
    if (status() != AVAssetWriterStatus::unknown) return false;
    try {
        std::unique_ptr<MediaFile> file = makeFile();
        {
            MutexLock lock(shared->mutex);
            shared->status = AVAssetWriterStatus::writing;
            shared->running = true;
        }
        thread =
            std::thread([held = shared, owned = std::move(file)]() mutable { run(held, std::move(owned)); });
        return true;
    } catch (const SystemError& error) {
        shared->fail(error);
    } catch (const std::exception& error) {
        shared->fail(SystemError("vintra", 2,
                                 std::string("The writer couldn't be started (") + error.what() +
                                     "). Close other programs, then record again."));
    }
    MutexLock lock(shared->mutex);
    shared->running = false;
    return false;
}

void LinuxAssetWriter::run(const std::shared_ptr<Shared>& shared, std::unique_ptr<MediaFile> file) {
    file->keep(); // without a thread it would be an empty file in the way of the next take
    try {
        shared->write(*file);
    } catch (const SystemError& error) {
        shared->fail(error);
    } catch (const std::exception& error) {
        shared->fail(SystemError("vintra", 3,
                                 std::string("The recording couldn't be encoded (") + error.what() +
                                     "). Close other programs, then record again."));
    }
    const bool complete = !shared->queue->isAbandoned() && shared->isWriting();
    if (!complete) {
        shared->queue->abandon();
        file->abandon();
    }
    file.reset();
    shared->end(complete);
}

void LinuxAssetWriter::startSession(CMTime atSourceTime) {
    if (status() == AVAssetWriterStatus::writing && atSourceTime.isNumeric())
        shared->queue->beginSession(atSourceTime);
}

void LinuxAssetWriter::finishWriting(std::function<void()> completion) {
    bool wait = false;
    {
        MutexLock lock(shared->mutex);
        wait = shared->running;
        if (wait) shared->completions.push_back(std::move(completion));
    }
    if (!wait) {
        completion();
        return;
    }
    finishing = true;
    shared->queue->close();
}

void LinuxAssetWriter::abandonFinish() {
    std::vector<std::function<void()>> toCall;
    {
        MutexLock lock(shared->mutex);
        if (!finishing || !shared->running) return;
        toCall.swap(shared->completions);
    }
    shared->fail(
        SystemError("vintra", 4,
                    "its disk doesn't answer; what it took before can be played. Check the disk of “" +
                        url.deletingLastPathComponent().path() + "”"));
    shared->queue->abandon();
    isWaitedFor = false;
    for (const auto& completion : toCall)
        completion();
}

void LinuxAssetWriter::cancelWriting() {
    {
        MutexLock lock(shared->mutex);
        if (shared->status != AVAssetWriterStatus::writing) return;
        shared->status = AVAssetWriterStatus::cancelled;
    }
    shared->queue->abandon();
    ::unlink(url.path().c_str());
}

AVAssetWriterStatus LinuxAssetWriter::status() const {
    MutexLock lock(shared->mutex);
    return shared->status;
}

std::optional<SystemError> LinuxAssetWriter::error() const {
    MutexLock lock(shared->mutex);
    return shared->error;
}

} // namespace vintra

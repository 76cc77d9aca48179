#include "tools/vintra-take/TakeRunner.h"

#include "Vintra/platform/FileManager.h"
#include "Vintra/platform/HostClock.h"
#include "Vintra/platform/ProcessInfo.h"
#include "Vintra/platform/UserDefaults.h"
#include "Vintra/platform/linux/pipewire/PipeWireCaptureDevices.h"
#include "Vintra/take/SessionNames.h"
#include "Vintra/take/TrackNames.h"
#include "Vintra/take/Words.h"
#include "tools/vintra-take/MediaFacts.h"
#include "tools/vintra-take/StatusLine.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace vintra {
namespace {

constexpr int64_t kSecond = 1'000'000'000;           // nanoseconds
constexpr int64_t kPatienceWithInputs = 5 * kSecond; // a device that has not begun by then won't
constexpr int64_t kBetweenStatusLines = kSecond / 5;
constexpr double kLongestStart = 1;    // seconds, without a question to the user
constexpr double kLeastPadding = 0.01; // seconds: a gap up to this is left as it is
constexpr size_t kStatusColumns = 79;
constexpr int kMostNames = 20;

const char* rawValue(ScreenCodec codec) {
    return codec == ScreenCodec::hevc ? "hevc" : "h264";
}

} // namespace

TakeRunner::TakeRunner(LinuxPlatform& machine, Options options, Outlets outlets)
    : machine(machine)
    , options(std::move(options))
    , outlets(std::move(outlets))
    , manager(ScreenRecorderManager::make(machine.services))
    , state(machine.services) {
    // A disk that hangs is all that is waited for with a word.
    waitingForDisk = manager->statusMessage.observe([this](const std::string& text) {
        if (text.starts_with("Waiting for")) this->outlets.note(text + " An interrupt leaves it as it is.");
    });
    state.follow(isInterrupted);
    state.follow(manager->isBusy);
    state.follow(manager->isRecording);
    state.follow(manager->lastError);
    state.follow(manager->isAudioStartUpOver);
    state.follow(manager->arePreviewsDelivering);
    state.follow(manager->isRecoveryOver);
    errorObservation =
        manager->lastError.observe([this](const std::optional<std::string>& error) { tellOfError(error); });
    recoveryObservation = manager->recoveryNote.observe([this](const std::optional<std::string>& note) {
        if (note) this->outlets.note(*note);
    });
}

TakeRunner::~TakeRunner() {
    putOutputBack();
}

Task<> TakeRunner::end() {
    putOutputBack();
    co_await manager->endPreviews();
    // What was cut off before is put in order and told of, unless the user is in a hurry.
    if (*isInterrupted) manager->cancelRecovery();
    const std::function<bool()> isOver = [this] { return *manager->isRecoveryOver; };
    co_await state.until(isOver);
}

void TakeRunner::interrupt() {
    // Once more, when the take has ended, is the user's wish to wait for nothing.
    if (*isInterrupted) manager->cancelRecovery();
    manager->giveUpWaitingForDisk();
    isInterrupted.set(true);
    manager->cancelStart();
}

Task<> TakeRunner::awaitStartUp() {
    const std::function<bool()> isOver = [this] { return *manager->isAudioStartUpOver; };
    co_await state.until(isOver);
    if (*manager->lastError) outlets.note(**manager->lastError);
    manager->lastError.set(std::nullopt);
}

Task<MachineList> TakeRunner::list() {
    co_await manager->refreshDisplays();
    MachineList list;
    list.displays = knownDisplays();
    list.screenProblem = co_await screenProblem();
    list.windows = manager->pickableWindows();
    list.windowProblem = windowProblem();
    list.inputs = knownInputs();
    list.outputs = knownOutputs();
    list.cameras = knownCameras();
    list.soundProblem = machine.captureDevices->problem();
    list.computerAudioProblem = computerAudioProblem();
    co_return list;
}

Task<std::string> TakeRunner::report() {
    co_await manager->refreshDisplays();
    co_return manager->diagnosticsReport();
}

/// What a stop says stands in its summary.
void TakeRunner::tellOfError(const std::optional<std::string>& error) {
    if (!error || !*manager->isRecording || *manager->isBusy) return;
    std::string text = *error;
    // A further warning stands behind the one before. The same one again is another fault of its kind.
    if (!toldInTake.empty() && text.starts_with(toldInTake + " ")) text.erase(0, toldInTake.size() + 1);
    toldInTake = *error;
    const CMTime now = machine.services.hostClock->now();
    const CMTime start = manager->recordingCommonStartTime.value_or(now);
    events.push_back({.seconds = CMTimeGetSeconds(now - start),
                      .time = machine.services.wallClock->now(),
                      .text = std::move(text)});
    outlets.event(events.back());
}

Task<std::variant<TakeSummary, UsageError>> TakeRunner::run() {
    folder = manager->outputFolder(options.folder).path();
    co_await manager->refreshDisplays();
    if (const Problem problem = co_await choose()) {
        if (problem->isUsage) co_return UsageError{problem->sentence};
        co_return failed(problem->sentence);
    }
    URL movie;
    try {
        movie = movieURL(manager->prepareOutputFolder(options.folder));
    } catch (const SystemError& error) {
        co_return failed(error.localizedDescription());
    }
    co_await configurePreviews();
    if (*isInterrupted) co_return interrupted();
    screenLabel = manager->captureAreaLabel();
    co_await manager->startRecording(movie);
    for (int tries = 1; wasNameTaken() && tries < kMostNames; ++tries) {
        movie = movieURL(movie.deletingLastPathComponent());
        co_await manager->startRecording(movie);
    }
    if (*isInterrupted && !*manager->isRecording) {
        putOutputBack();
        TakeSummary nothing = interrupted();
        if (*manager->lastError) nothing.lastError = **manager->lastError; // where the start was
        co_return nothing;
    }
    if (*manager->isRecording) co_await recordUntilTheEnd();
    if (*manager->isRecording) co_await manager->stopRecording();
    // A screen that went away ends the take by itself.
    const std::function<bool()> isOver = [this] { return !*manager->isBusy; };
    co_await state.until(isOver);
    putOutputBack();
    co_return summary();
}

Task<TakeRunner::Problem> TakeRunner::choose() {
    if (options.fps) manager->screenFrameRate.set(*options.fps);
    if (options.codec)
        machine.services.userDefaults->set("screenCodec", std::string(rawValue(*options.codec)));
    if (options.timeline) manager->timelineEditor.set(*options.timeline);
    if (!options.folder.empty()) machine.services.userDefaults->set("outputFolderPath", options.folder);
    manager->screenEnabled.set(options.screen);
    if (Problem problem = co_await chooseDisplay()) co_return problem;
    if (Problem problem = co_await chooseRegion()) co_return problem;
    if (Problem problem = co_await chooseWindow()) co_return problem;
    if (Problem problem = chooseMicrophone()) co_return problem;
    if (Problem problem = chooseInputs()) co_return problem;
    if (Problem problem = chooseVirtualInput()) co_return problem;
    if (Problem problem = chooseCameras()) co_return problem;
    co_return chooseComputerAudio();
}

TakeRunner::Problem TakeRunner::chooseMicrophone() {
    if (!options.mic) return std::nullopt;
    auto result = parseInputChoice(*options.mic, knownInputs(), 1);
    if (auto* problem = std::get_if<InputProblem>(&result)) return withSoundProblem(*problem);
    const auto& choice = std::get<InputChoice>(result);
    manager->selectedMicDeviceID.set(choice.deviceID);
    manager->selectedMicChannelIndex.set(choice.channelIndex);
    manager->micTrackName.set(options.micName);
    manager->micGainDB.set(options.micGainDB);
    return std::nullopt;
}

TakeRunner::Problem TakeRunner::chooseInputs() {
    std::vector<ExtraAudioInputConfig> rows;
    for (const std::string& text : options.inputs) {
        auto result = parseInputChoice(text, knownInputs(), 3);
        if (auto* problem = std::get_if<InputProblem>(&result)) return withSoundProblem(*problem);
        const auto& choice = std::get<InputChoice>(result);
        rows.push_back({.id = machine.services.processInfo->makeUUID(),
                        .deviceID = choice.deviceID,
                        .channelIndex = choice.channelIndex,
                        .name = choice.name,
                        .gainDB = choice.gainDB});
    }
    if (!rows.empty()) manager->extraAudioInputs.set(rows);
    return std::nullopt;
}

/// A take records what already runs, so the inputs are given their time to begin. One that doesn't is
/// refused by the start, with its sentence.
Task<> TakeRunner::configurePreviews() {
    co_await manager->configureMicPreview();
    co_await manager->configureExtraPreviews();
    const std::function<bool()> isSettled = [this] {
        return *isInterrupted || *manager->arePreviewsDelivering || manager->lastError->has_value();
    };
    co_await state.until(isSettled, kPatienceWithInputs);
    // Why there is no computer audio: the start only says that there is none.
    if (*manager->lastError) outlets.note(**manager->lastError);
}

URL TakeRunner::movieURL(const URL& inFolder) {
    const WallClock& clock = *machine.services.wallClock;
    const std::string name = options.name.empty() ? unusedSessionName(*machine.services.fileManager, inFolder,
                                                                      generateSessionName(clock))
                                                  : sanitizedSessionName(options.name, clock);
    if (!options.name.empty() && name != options.name) {
        outlets.note("A file's name can't be “" + options.name + "”, so the files are named “" + name + "”.");
    }
    return screenMovieURL(inFolder, name);
}

/// Whether another program has begun a take of the same generated name in the same second.
bool TakeRunner::wasNameTaken() const {
    return options.name.empty() && !*isInterrupted && !*manager->isRecording && *manager->lastError &&
           (*manager->lastError)->find("already exist") != std::string::npos;
}

/// Until the seconds are over, until a signal, or until the take has ended by itself. The seconds are
/// measured as the files are, from the common start, unless the user was asked a question since then: by the
/// desktop, whether the screen may be shared.
Task<> TakeRunner::recordUntilTheEnd() {
    const std::function<bool()> isOver = [this] { return *isInterrupted || !*manager->isRecording; };
    const CMTime running = machine.services.hostClock->now();
    const CMTime common = manager->recordingCommonStartTime.value_or(running);
    const CMTime start = CMTimeGetSeconds(running - common) > kLongestStart ? running : common;
    while (!isOver()) {
        int64_t wait = kBetweenStatusLines;
        if (options.seconds) {
            const double left =
                *options.seconds - CMTimeGetSeconds(machine.services.hostClock->now() - start);
            if (left <= 0) co_return;
            wait = std::min(wait, static_cast<int64_t>(std::ceil(left * static_cast<double>(kSecond))));
        }
        showStatus();
        co_await state.until(isOver, wait);
    }
}

void TakeRunner::showStatus() {
    if (!outlets.status || !*manager->recordingStartDate) return;
    StatusLineFacts facts;
    facts.elapsed = elapsedString(**manager->recordingStartDate, machine.services.wallClock->now());
    facts.hasScreen = options.screen;
    facts.lostFrames = manager->lostScreenFrames();
    if (options.mic) facts.levels.push_back({"mic", *manager->levels->micLevel});
    if (options.hasSecondTrack())
        facts.levels.push_back({options.computerAudio ? "computer" : "virtual", *manager->levels->dawLevel});
    size_t number = 0;
    for (const ExtraAudioInputConfig& row : *manager->extraAudioInputs) {
        facts.levels.push_back(
            {"input " + std::to_string(++number), manager->levels->level(LevelKey::extra(row.id))});
    }
    outlets.status(statusLine(facts, kStatusColumns));
}

TakeSummary TakeRunner::failed(const std::string& sentence) {
    TakeSummary summary;
    summary.status = "Failed to start";
    summary.lastError = sentence;
    summary.folder = folder;
    return summary;
}

TakeSummary TakeRunner::interrupted() {
    TakeSummary nothing = failed("It was interrupted before the take began: nothing was recorded.");
    nothing.status = "Interrupted";
    return nothing;
}

TakeSummary TakeRunner::summary() {
    TakeSummary summary;
    summary.status = *manager->statusMessage;
    summary.lastError = *manager->lastError;
    summary.folder = folder;
    summary.warnings = manager->lastTakeWarnings();
    summary.events = events;
    if (options.report) summary.report = manager->diagnosticsReport();
    if (const auto& relay = manager->lastRelayTelemetry)
        summary.relay = relay->summary(*machine.services.wallClock);
    if (const auto& timeline = manager->lastTimelineURL()) summary.timeline = timeline->path();
    if (const auto& take = manager->lastTakeFiles()) {
        summary.folder = take->folder.path();
        if (take->screen) {
            summary.screen = screenLabel;
            summary.files.push_back(fileOf(*take->screen, FileKind::screen));
        }
        for (size_t i = 0; i < take->cameras.size(); ++i) {
            summary.files.push_back(fileOf(take->cameras[i], FileKind::camera));
            summary.files.back().camera = cameraName(i);
        }
        for (const URL& url : take->sounds)
            summary.files.push_back(fileOf(url, FileKind::sound));
    }
    return summary;
}

TakeFile TakeRunner::fileOf(const URL& url, FileKind kind) const {
    TakeFile file;
    file.path = url.path();
    file.kind = kind;
    for (const SavedFile& saved : manager->lastTakeSavedFiles()) {
        if (saved.url != url) continue;
        file.saved = saved;
        if (saved.problem) file.problem = *saved.problem;
    }
    if (file.problem) return file;
    const auto facts = mediaFacts(url);
    if (!facts) {
        file.problem = "unreadable";
        return file;
    }
    file.seconds = facts->seconds;
    file.units = facts->units;
    file.rate = kind == FileKind::screen ? *manager->screenFrameRate : facts->rate;
    if (kind != FileKind::sound) return file;
    file.padding = 0;
    for (const auto& padding : manager->lastTakePaddings()) {
        if (padding.url == url && padding.gap > kLeastPadding) file.padding = padding.gap;
    }
    return file;
}

} // namespace vintra

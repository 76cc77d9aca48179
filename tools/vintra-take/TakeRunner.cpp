#include "tools/vintra-take/TakeRunner.h"

#include "Vintra/platform/FileManager.h"
#include "Vintra/platform/HostClock.h"
#include "Vintra/platform/ProcessInfo.h"
#include "Vintra/platform/ScreenCapture.h"
#include "Vintra/platform/UserDefaults.h"
#include "Vintra/platform/WindowList.h"
#include "Vintra/platform/linux/pipewire/PipeWireCaptureDevices.h"
#include "Vintra/platform/linux/runtime/LinuxEventLoop.h"
#include "Vintra/take/SessionNames.h"
#include "Vintra/take/Words.h"
#include "tools/vintra-take/MediaFacts.h"
#include "tools/vintra-take/RegionChoice.h"
#include "tools/vintra-take/StatusLine.h"

#include <algorithm>
#include <cmath>

namespace vintra {
namespace {

constexpr int64_t kSecond = 1'000'000'000;           // nanoseconds
constexpr int64_t kPatienceWithInputs = 5 * kSecond; // a device that has not begun by then won't
constexpr int64_t kBetweenLooks = kSecond / 100;     // at what tells no one of its change
constexpr int64_t kBetweenStatusLines = kSecond / 5;
constexpr double kLongestStart = 1;    // seconds, without a question to the user
constexpr double kLeastPadding = 0.01; // seconds: a gap up to this is left as it is
constexpr size_t kStatusColumns = 79;

const char* rawValue(ScreenCodec codec) {
    return codec == ScreenCodec::hevc ? "hevc" : "h264";
}

} // namespace

TakeRunner::TakeRunner(LinuxPlatform& machine, Options options, Outlets outlets, Routing routing)
    : machine(machine)
    , options(std::move(options))
    , outlets(std::move(outlets))
    , routing(routing)
    , manager(ScreenRecorderManager::make(machine.services)) {}

TakeRunner::~TakeRunner() {
    putOutputBack();
    await(manager->endPreviews());
}

void TakeRunner::interrupt() {
    interrupted = true;
    manager->cancelStart();
}

void TakeRunner::awaitStartUp() {
    machine.mainThread->runUntil([this] { return manager->isStartUpOver(); });
    if (*manager->lastError) outlets.note(**manager->lastError);
    manager->lastError.set(std::nullopt);
}

void TakeRunner::await(Task<> task) {
    bool done = false;
    const auto marked = [](Task<> inner, bool& isDone) -> Task<> {
        co_await std::move(inner);
        isDone = true;
    };
    tasks.start(marked(std::move(task), done));
    machine.mainThread->runUntil([&] { return done; });
}

MachineList TakeRunner::list() {
    await(manager->refreshDisplays());
    return {.displays = knownDisplays(),
            .screenProblem = screenProblem(),
            .windows = manager->pickableWindows(),
            .windowProblem = windowProblem(),
            .inputs = knownInputs(),
            .outputs = knownOutputs(),
            .soundProblem = machine.captureDevices->problem(),
            .computerAudioProblem = computerAudioProblem()};
}

std::optional<std::string> TakeRunner::screenProblem() {
    std::optional<std::string> problem;
    bool answered = false;
    machine.services.screenCapture->getShareableContent(
        false, true, [&, main = machine.mainThread](const ScreenCapture::Content& content) {
            main->post([&, error = content.error] {
                if (error) problem = error->localizedDescription();
                answered = true;
            });
        });
    machine.mainThread->runUntil([&] { return answered; });
    return problem;
}

std::optional<std::string> TakeRunner::windowProblem() const {
    if (machine.namesWindows()) return std::nullopt;
    return "This desktop doesn't tell programs of its windows: record a display or a region of it.";
}

std::vector<KnownDisplay> TakeRunner::knownDisplays() const {
    std::vector<KnownDisplay> displays;
    for (const CaptureDisplay& display : *manager->availableDisplays) {
        const double scale = manager->backingScale(display.id);
        displays.push_back({display, {display.width / scale, display.height / scale}, scale});
    }
    return displays;
}

std::variant<TakeSummary, UsageError> TakeRunner::run() {
    folder = manager->outputFolder(options.folder).path();
    await(manager->refreshDisplays());
    if (const auto problem = choose()) {
        if (problem->isUsage) return UsageError{problem->sentence};
        return failed(problem->sentence);
    }
    URL movie;
    try {
        movie = movieURL(manager->prepareOutputFolder(options.folder));
    } catch (const SystemError& error) {
        return failed(error.localizedDescription());
    }
    configurePreviews();
    if (interrupted) {
        TakeSummary nothing = failed("It was interrupted before the take began: nothing was recorded.");
        nothing.status = "Interrupted";
        return nothing;
    }
    screenLabel = manager->captureAreaLabel();
    await(manager->startRecording(movie));
    if (*manager->isRecording) recordUntilTheEnd();
    if (*manager->isRecording) await(manager->stopRecording());
    // A screen that went away ends the take by itself.
    machine.mainThread->runUntil([this] { return !*manager->isBusy; });
    putOutputBack();
    return summary();
}

std::optional<InputProblem> TakeRunner::choose() {
    if (options.fps) manager->screenFrameRate.set(*options.fps);
    if (options.codec)
        machine.services.userDefaults->set("screenCodec", std::string(rawValue(*options.codec)));
    if (options.timeline) manager->timelineEditor.set(*options.timeline);
    if (!options.folder.empty()) machine.services.userDefaults->set("outputFolderPath", options.folder);
    manager->screenEnabled.set(options.screen);
    if (auto problem = chooseDisplay()) return problem;
    if (auto problem = chooseRegion()) return problem;
    if (auto problem = chooseWindow()) return problem;
    if (auto problem = chooseMicrophone()) return problem;
    if (auto problem = chooseInputs()) return problem;
    if (auto problem = chooseVirtualInput()) return problem;
    return chooseComputerAudio();
}

std::optional<InputProblem> TakeRunner::chooseDisplay() {
    if (!options.display) return std::nullopt;
    const auto& displays = *manager->availableDisplays;
    const bool listed = std::any_of(displays.begin(), displays.end(), [&](const CaptureDisplay& display) {
        return display.id == *options.display;
    });
    if (!listed) {
        const auto problem = screenProblem();
        return InputProblem{"There is no display " + std::to_string(*options.display) + ". " +
                            problem.value_or("--list shows the ones there are.")};
    }
    manager->selectedDisplayID.set(*options.display);
    return std::nullopt;
}

/// Of the chosen display, or the first.
std::optional<InputProblem> TakeRunner::chooseRegion() {
    if (!options.region) return std::nullopt;
    const auto display = manager->effectiveDisplay();
    if (!display) return InputProblem{screenProblem().value_or("There is no display to record a region of.")};
    for (const KnownDisplay& known : knownDisplays()) {
        if (known.display.id != display->id) continue;
        if (const auto problem = regionProblem(*options.region, options.aspect, known))
            return InputProblem{*problem};
    }
    manager->selectedDisplayID.set(display->id);
    manager->aspectPreset.set(options.aspect);
    manager->captureRegion.set(CaptureRegion{display->id, *options.region});
    manager->screenCaptureMode.set(CaptureModeChoice::region);
    return std::nullopt;
}

std::optional<InputProblem> TakeRunner::chooseWindow() {
    if (!options.window) return std::nullopt;
    const auto window = machine.services.windowList->window(*options.window);
    if (!window) {
        std::string advice = "--list shows the ones there are.";
        if (const auto problem = windowProblem()) advice = *problem;
        if (const auto problem = screenProblem()) advice = *problem;
        return InputProblem{"There is no window " + std::to_string(*options.window) + ". " + advice};
    }
    manager->selectedWindowID.set(*options.window);
    manager->selectedWindowTitle.set(window->name);
    manager->screenCaptureMode.set(CaptureModeChoice::window);
    return std::nullopt;
}

std::optional<InputProblem> TakeRunner::chooseMicrophone() {
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

std::optional<InputProblem> TakeRunner::chooseInputs() {
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
void TakeRunner::configurePreviews() {
    await(manager->configureMicPreview());
    await(manager->configureExtraPreviews());
    const auto isSettled = [this] { return interrupted || previewsRun() || manager->lastError->has_value(); };
    for (int64_t waited = 0; waited < kPatienceWithInputs && !isSettled(); waited += kBetweenLooks)
        machine.mainThread->runUntil(isSettled, kBetweenLooks);
    // Why there is no computer audio: the start only says that there is none.
    if (*manager->lastError) outlets.note(**manager->lastError);
}

bool TakeRunner::previewsRun() const {
    return (!options.mic || manager->isMicPreviewRunning()) && manager->areExtraPreviewsRunning() &&
           (!options.hasSecondTrack() || manager->isDawPreviewRunning());
}

URL TakeRunner::movieURL(const URL& inFolder) {
    const WallClock& clock = *machine.services.wallClock;
    const std::string name =
        options.name.empty() ? generateSessionName(clock) : sanitizedSessionName(options.name, clock);
    if (!options.name.empty() && name != options.name) {
        outlets.note("A file's name can't be “" + options.name + "”, so the files are named “" + name + "”.");
    }
    return inFolder.appendingPathComponent(name + "_video.mov");
}

/// Until the seconds are over, until a signal, or until the take has ended by itself. The seconds are
/// measured as the files are, from the common start, unless the user was asked a question since then: by the
/// desktop, whether the screen may be shared.
void TakeRunner::recordUntilTheEnd() {
    const auto isOver = [this] { return interrupted || !*manager->isRecording; };
    const CMTime running = machine.services.hostClock->now();
    const CMTime common = manager->commonStartTime().value_or(running);
    const CMTime start = CMTimeGetSeconds(running - common) > kLongestStart ? running : common;
    while (!isOver()) {
        int64_t wait = kBetweenStatusLines;
        if (options.seconds) {
            const double left =
                *options.seconds - CMTimeGetSeconds(machine.services.hostClock->now() - start);
            if (left <= 0) return;
            wait = std::min(wait, static_cast<int64_t>(std::ceil(left * static_cast<double>(kSecond))));
        }
        showStatus();
        machine.mainThread->runUntil(isOver, wait);
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

TakeSummary TakeRunner::summary() {
    TakeSummary summary;
    summary.status = *manager->statusMessage;
    summary.lastError = *manager->lastError;
    summary.folder = folder;
    summary.warnings = manager->lastTakeWarnings();
    if (const auto& relay = manager->lastRelayTelemetry)
        summary.relay = relay->summary(*machine.services.wallClock);
    if (const auto& timeline = manager->lastTimelineURL()) summary.timeline = timeline->path();
    if (const auto& take = manager->lastTakeFiles()) {
        if (take->screen) {
            summary.screen = screenLabel;
            summary.files.push_back(fileOf(*take->screen, FileKind::screen));
        }
        for (const URL& url : take->cameras)
            summary.files.push_back(fileOf(url, FileKind::camera));
        for (const URL& url : take->sounds)
            summary.files.push_back(fileOf(url, FileKind::sound));
    }
    return summary;
}

TakeFile TakeRunner::fileOf(const URL& url, FileKind kind) const {
    TakeFile file;
    file.path = url.path();
    file.kind = kind;
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

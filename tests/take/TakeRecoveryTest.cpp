#include "Vintra/take/TakeRecovery.h"

#include "Vintra/platform/simulated/SimulatedFileProbe.h"
#include "Vintra/take/TakeJournalText.h"
#include "Vintra/take/WavFile.h"
#include "tests/take/RecorderFixture.h"

#include <algorithm>
#include <map>

namespace vintra {
namespace {

using Items = std::map<std::string, SimulatedDisk::Item>;

constexpr const char* kNotes = "/home/user/.local/state/vintra/unfinished-takes";

Items copyOf(const SimulatedDisk& disk) {
    Items items;
    for (const auto& [path, item] : disk.items)
        items[path] = std::make_shared<SimulatedDiskItem>(*item);
    return items;
}

bool changesTheDisk(SimulatedFileOperation operation) {
    return operation != SimulatedFileOperation::openForReading && operation != SimulatedFileOperation::read &&
           operation != SimulatedFileOperation::close && operation != SimulatedFileOperation::openForWriting;
}

/// A machine that starts with the disk of one that crashed, and a program on it.
struct NextRun {
    explicit NextRun(const Items& crashed, bool starts = true) {
        machine.fileManager->disk->items.clear();
        for (const auto& [path, item] : crashed)
            machine.fileManager->disk->items[path] = std::make_shared<SimulatedDiskItem>(*item);
        machine.userDefaults->values["timelineEditor"] = std::string("none");
        machine.assetProbing->setFallback([this](const URL& url) {
            if (url.pathExtension() != "mov" || !machine.fileManager->fileExists(url))
                return probeSimulatedFile(*machine.fileManager, *machine.assetWriters, url);
            SimulatedAsset movie;
            movie.duration = CMTimeMake(1, 1);
            movie.videoTracks->push_back(simulatedVideoTrack({640, 480}, 30, CMTimeMake(1, 1)));
            return movie;
        });
        if (starts) start();
    }
    void start() {
        recorder = ScreenRecorderManager::make(machine.platform());
        machine.run(0.5);
    }
    std::string note() const { return recorder->recoveryNote->value_or(""); }
    SimulatedFileManager& files() { return *machine.fileManager; }
    bool exists(const std::string& path) { return files().fileExists(URL::fileURL(path)); }
    std::vector<std::string> notes() {
        return exists(kNotes) ? files().contentsOfDirectory(URL::fileURL(kNotes))
                              : std::vector<std::string>{};
    }

    SimulatedMachine machine;
    std::shared_ptr<ScreenRecorderManager> recorder;
};

TakeRecovery
recoveryOn(SimulatedMachine& machine,
           std::shared_ptr<std::atomic<bool>> isCancelled = std::make_shared<std::atomic<bool>>(false)) {
    return {TakeRecovery::Services::of(machine.platform()), std::move(isCancelled)};
}

/// The samples of a WAV, as its header counts them.
std::string samplesOf(SimulatedFileManager& files, const std::string& path) {
    if (!files.fileExists(URL::fileURL(path))) return "";
    const auto header = readWavHeader(files, URL::fileURL(path));
    if (!header) return "";
    return files.contents(path)->substr(header->dataStart, header->declaredDataSize);
}

class TakeRecoveryTest : public RecorderFixture {
protected:
    static inline const std::vector<std::string> kSounds = {"take_mic.wav", "take_Keys.wav"};

    void arm() {
        machine.userDefaults->values["timelineEditor"] = std::string("resolve");
        machine.audioHardware->device("mic.one")->firstFrameSeconds = 0.3;
        machine.audioHardware->device("mic.one")->signal = [](uint32_t, int64_t frame, CMTime) {
            return static_cast<float>(frame % 1000 + 1) / 2048;
        };
        machine.audioHardware->device("multi.eight")->signal = [](uint32_t, int64_t frame, CMTime) {
            return static_cast<float>(frame % 1000 + 1) / 4096;
        };
        addExtraInput("multi.eight", 4, "Keys");
        recorder->selectedMicDeviceID.set("mic.one");
    }
    /// The disk of a take as a crash would leave it after so many seconds.
    Items crashAfter(double seconds) {
        arm();
        start();
        EXPECT_TRUE(*recorder->isRecording) << lastError();
        machine.run(seconds);
        return copyOf(*machine.fileManager->disk);
    }
    void endQuietly() {
        if (*recorder->isRecording) stop();
    }
    static bool isTidy(NextRun& run) {
        const auto names = run.files().contentsOfDirectory(URL::fileURL(kFolder));
        return run.notes().empty() &&
               std::ranges::none_of(names, [](const auto& name) { return name[0] == '.'; });
    }
};

TEST_F(TakeRecoveryTest, aTakeCutOffAtAnyStepOfTheDiskIsPutInOrder) {
    std::vector<Items> crashes;
    machine.fileManager->disk->fails = [&](SimulatedFileOperation operation, const std::string&) {
        if (changesTheDisk(operation)) crashes.push_back(copyOf(*machine.fileManager->disk));
        return false;
    };
    arm();
    crashes.clear();
    recordFor(0.9);
    machine.fileManager->disk->fails = nullptr;
    ASSERT_EQ(*recorder->statusMessage, "Saved") << lastError();
    ASSERT_GT(crashes.size(), 100u);
    std::map<std::string, std::string> uncut;
    for (const std::string& name : kSounds)
        uncut[name] = samplesOf(*machine.fileManager, path(name));
    EXPECT_TRUE(machine.fileManager->fileExists(URL::fileURL(path("take.otio"))));

    int told = 0;
    for (size_t step = 0; step < crashes.size(); ++step) {
        SCOPED_TRACE("crash before step " + std::to_string(step) + " of " + std::to_string(crashes.size()));
        const auto bytesBefore = [&](const std::string& name) -> uint64_t {
            const auto found = crashes[step].find(path(name));
            return found == crashes[step].end() ? 0 : found->second->bytes.size();
        };
        NextRun run(crashes[step]);
        ASSERT_TRUE(isTidy(run));
        if (!run.note().empty()) ++told;
        for (const std::string& name : kSounds) {
            const std::string samples = samplesOf(run.files(), path(name));
            if (run.note().find("When") != std::string::npos && run.note().find(name) != std::string::npos) {
                ASSERT_LE(samples.size(), 3u * 4096) << "only the very first buffers have no place yet";
                continue;
            }
            ASSERT_EQ(samples, uncut[name].substr(0, samples.size())) << name;
            ASSERT_GE(samples.size() + 44, bytesBefore(name)) << name << ": nothing recorded is lost";
        }
        ASSERT_EQ(run.exists(path("take.otio")), run.exists(path("take_video.mov"))) << run.note();
        NextRun again(copyOf(*run.files().disk));
        ASSERT_EQ(again.note(), "") << "a take is recovered once";
    }
    EXPECT_GT(told, 100);
}

TEST_F(TakeRecoveryTest, aRecoveryThatIsCutOffAtAnyStepIsCarriedOutAgain) {
    const Items crashed = crashAfter(1.5);
    NextRun whole(crashed);
    ASSERT_NE(whole.note(), "");

    std::vector<Items> crashes;
    NextRun watched(crashed, false);
    watched.files().disk->fails = [&](SimulatedFileOperation operation, const std::string&) {
        if (changesTheDisk(operation)) crashes.push_back(copyOf(*watched.files().disk));
        return false;
    };
    watched.start();
    ASSERT_GT(crashes.size(), 10u);
    for (size_t step = 0; step < crashes.size(); ++step) {
        SCOPED_TRACE("crash before step " + std::to_string(step));
        NextRun run(crashes[step]);
        EXPECT_TRUE(isTidy(run));
        for (const std::string& name : kSounds)
            EXPECT_EQ(run.files().contents(path(name)), whole.files().contents(path(name))) << name;
        EXPECT_EQ(run.files().contents(path("take.otio")), whole.files().contents(path("take.otio")));
    }
    endQuietly();
}

TEST_F(TakeRecoveryTest, theUserIsToldOnceWhereTheTakeIs) {
    NextRun run(crashAfter(1));
    EXPECT_EQ(run.note(), "Your last take was cut off; what was recorded until then is “take” in "
                          "“/home/user/Videos/Vintra”: 3 files, lined up, and a timeline for Resolve.");
    endQuietly();
}

TEST_F(TakeRecoveryTest, aFinishedTakeLeavesNoJournal) {
    arm();
    recordFor(1);
    EXPECT_EQ(files(),
              (std::vector<std::string>{"take.otio", "take_Keys.wav", "take_mic.wav", "take_video.mov"}));
    NextRun run(copyOf(*machine.fileManager->disk));
    EXPECT_EQ(run.note(), "");
    EXPECT_TRUE(run.notes().empty());
}

TEST_F(TakeRecoveryTest, aFailedStartLeavesNoJournal) {
    arm();
    machine.assetWriters->script = [](const URL& url, AVFileType) {
        return SimulatedWriterScript{.startFails = url.path().ends_with("Keys.wav")};
    };
    start();
    EXPECT_EQ(*recorder->statusMessage, "Failed to start");
    EXPECT_TRUE(files().empty());
    EXPECT_TRUE(machine.fileManager->contentsOfDirectory(URL::fileURL(kNotes)).empty());
}

TEST_F(TakeRecoveryTest, aTakeThatStillRunsIsLeftAlone) {
    arm();
    start();
    machine.run(1);
    const auto other = ScreenRecorderManager::make(machine.platform());
    machine.run(1);
    EXPECT_TRUE(*other->isRecoveryOver);
    EXPECT_EQ(*other->recoveryNote, std::nullopt);
    const auto outcome = recoveryOn(machine).recoverFolder(URL::fileURL(kFolder));
    EXPECT_TRUE(outcome.takes.empty());
    ASSERT_EQ(outcome.problems.size(), 1u);
    EXPECT_EQ(outcome.problems[0],
              "The take of “/home/user/Videos/Vintra/.take.vintra” is still being recorded, or "
              "recovered by another program.");
    stop();
    EXPECT_EQ(*recorder->statusMessage, "Saved") << lastError();
}

TEST_F(TakeRecoveryTest, aFolderThatIsAwayIsLeftForLater) {
    Items crashed = crashAfter(1);
    NextRun away(crashed, false);
    away.files().replaceItem(URL::fileURL("/tmp/elsewhere"), URL::fileURL(kFolder));
    away.start();
    EXPECT_EQ(away.note(), "");
    EXPECT_EQ(away.notes().size(), 1u);
    NextRun back(copyOf(*away.files().disk), false);
    back.files().replaceItem(URL::fileURL(kFolder), URL::fileURL("/tmp/elsewhere"));
    back.start();
    EXPECT_TRUE(back.note().starts_with("Your last take was cut off; what was recorded")) << back.note();
    endQuietly();
}

TEST_F(TakeRecoveryTest, aFolderThatStaysAwayIsForgottenAfterThirtyDays) {
    NextRun run(crashAfter(1), false);
    run.files().replaceItem(URL::fileURL("/tmp/elsewhere"), URL::fileURL(kFolder));
    run.machine.run(29 * 24 * 3600.0);
    run.start();
    EXPECT_EQ(run.notes().size(), 1u);
    run.machine.run(2 * 24 * 3600.0);
    run.start();
    EXPECT_TRUE(run.notes().empty());
    EXPECT_EQ(run.note(), "");
    EXPECT_TRUE(run.exists("/tmp/elsewhere/.take.vintra")) << "so that it can still be recovered by hand";
    endQuietly();
}

TEST_F(TakeRecoveryTest, filesThatWereMovedAreRecoveredWhereTheyLie) {
    const Items crashed = crashAfter(1);
    NextRun usual(crashed);
    NextRun run(crashed, false);
    run.files().replaceItem(URL::fileURL("/tmp/elsewhere"), URL::fileURL(kFolder));
    const auto outcome = recoveryOn(run.machine).recoverFolder(URL::fileURL("/tmp/elsewhere"));
    EXPECT_TRUE(outcome.problems.empty());
    ASSERT_EQ(outcome.takes.size(), 1u);
    EXPECT_EQ(outcome.takes[0].folder.path(), "/tmp/elsewhere");
    for (const std::string& name : kSounds)
        EXPECT_EQ(run.files().contents("/tmp/elsewhere/" + name), usual.files().contents(path(name)));
    EXPECT_TRUE(run.exists("/tmp/elsewhere/take.otio"));
    EXPECT_FALSE(run.exists("/tmp/elsewhere/.take.vintra"));
    EXPECT_TRUE(run.notes().empty());
    endQuietly();
}

TEST_F(TakeRecoveryTest, aMissingFileCanBePutBack) {
    const Items crashed = crashAfter(1);
    NextRun whole(crashed);
    NextRun run(crashed, false);
    run.files().replaceItem(URL::fileURL("/tmp/mic.wav"), URL::fileURL(path("take_mic.wav")));
    run.start();
    EXPECT_EQ(run.note(),
              "Your last take was cut off; what was recorded until then is “take” in "
              "“/home/user/Videos/Vintra”: 2 files, lined up, and a timeline for Resolve. “take_mic.wav” "
              "isn't there: put it back beside the others and run vintra-take --recover "
              "“/home/user/Videos/Vintra”.");
    EXPECT_TRUE(run.notes().empty()) << "the next start says nothing of it";
    run.files().replaceItem(URL::fileURL(path("take_mic.wav")), URL::fileURL("/tmp/mic.wav"));
    const auto outcome = recoveryOn(run.machine).recoverFolder(URL::fileURL(kFolder));
    ASSERT_EQ(outcome.takes.size(), 1u);
    EXPECT_TRUE(outcome.takes[0].missing.empty());
    for (const std::string& name : kSounds)
        EXPECT_EQ(run.files().contents(path(name)), whole.files().contents(path(name))) << name;
    EXPECT_TRUE(isTidy(run));
    endQuietly();
}

TEST_F(TakeRecoveryTest, whatCantBeWrittenIsToldOnceAndTriedAgain) {
    NextRun run(crashAfter(1), false);
    run.files().disk->fails = [](SimulatedFileOperation operation, const std::string& at) {
        return changesTheDisk(operation) && at.starts_with(kFolder);
    };
    run.start();
    EXPECT_TRUE(run.note().starts_with("Your last take was cut off, and it can't be put in order yet: "))
        << run.note();
    EXPECT_TRUE(
        run.note().ends_with("What was recorded is “take” in “/home/user/Videos/Vintra”. Vintra tries again "
                             "when it starts next."))
        << run.note();
    run.start();
    EXPECT_EQ(run.note(), "") << "nobody is told twice";
    run.files().disk->fails = nullptr;
    run.start();
    EXPECT_TRUE(run.note().starts_with("Your last take was cut off; what was recorded until then is"))
        << run.note();
    EXPECT_TRUE(isTidy(run));
    endQuietly();
}

TEST_F(TakeRecoveryTest, aDiskWithoutRoomForACopyLeavesTheSoundAsItWas) {
    const Items crashed = crashAfter(1);
    NextRun run(crashed, false);
    run.files().disk->capacityBytes = run.files().disk->usedBytes() + 2000;
    run.start();
    EXPECT_NE(
        run.note().find("“take_mic.wav” couldn't be lined up. Its disk must have room for a copy of it."),
        std::string::npos)
        << run.note();
    EXPECT_EQ(run.files().contents(path("take_mic.wav"))->size(),
              crashed.at(path("take_mic.wav"))->bytes.size());
    run.files().disk->capacityBytes.reset();
    run.start();
    NextRun whole(crashed);
    for (const std::string& name : kSounds)
        EXPECT_EQ(run.files().contents(path(name)), whole.files().contents(path(name))) << name;
    endQuietly();
}

TEST_F(TakeRecoveryTest, aCancelledRecoveryLeavesTheRestForTheNextStart) {
    const Items crashed = crashAfter(1);
    NextRun run(crashed, false);
    const auto cancelled = std::make_shared<std::atomic<bool>>(true);
    EXPECT_TRUE(recoveryOn(run.machine, cancelled).recoverNoted().empty());
    run.start();
    EXPECT_NE(run.note(), "");
    EXPECT_TRUE(isTidy(run));
    endQuietly();
}

TEST_F(TakeRecoveryTest, aJournalThatIsSpoiltIsToldOfAndStays) {
    NextRun run(crashAfter(1), false);
    run.files().put(path(".take.vintra"), "zeros after a power cut");
    run.start();
    EXPECT_NE(run.note().find("is no journal of a take, or it is spoilt."), std::string::npos) << run.note();
    EXPECT_TRUE(run.exists(path("take_mic.wav")));
    endQuietly();
}

TEST_F(TakeRecoveryTest, aJournalOfANewerProgramIsLeftToThatOne) {
    NextRun run(crashAfter(1), false);
    run.files().put(path(".take.vintra"), TakeJournalText::line({"vintra-take", "2"}));
    run.start();
    EXPECT_EQ(run.note(), "");
    const auto outcome = recoveryOn(run.machine).recoverFolder(URL::fileURL(kFolder));
    ASSERT_EQ(outcome.problems.size(), 1u);
    EXPECT_TRUE(outcome.problems[0].ends_with("was recorded by a newer Vintra. Recover it with that one."));
    endQuietly();
}

} // namespace
} // namespace vintra

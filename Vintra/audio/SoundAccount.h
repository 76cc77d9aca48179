#pragma once

#include "Vintra/audio/CapturePCMSettings.h"
#include "Vintra/platform/CMTime.h"
#include "Vintra/platform/Mutex.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace vintra {

enum class SoundLossKind {
    beganLate,    ///< nothing came until well after the start of the take
    notDelivered, ///< the device, the sound server or the way from them left it out
    notTaken,     ///< the writer of the file had no room or refused it
    endedEarly,   ///< nothing came any more well before the end of the take
};

/// Sound that a track hasn't got. Silence of the same length stands in its place. In frames of a take's WAV.
struct SoundLoss {
    int64_t at = 0; ///< counted from the common start
    int64_t frames = 0;
    SoundLossKind kind = SoundLossKind::notDelivered;

    double atSeconds() const { return static_cast<double>(at) / kTakeSampleRate; }
    double seconds() const { return static_cast<double>(frames) / kTakeSampleRate; }
    bool operator==(const SoundLoss&) const = default;
};

/// How a device's clock runs against the host clock.
struct SoundDrift {
    double partsPerMillion = 0; ///< positive where the device makes more frames than it should
    double secondsAtEnd = 0;    ///< how much too late the last sound lies in the file as it was recorded
};

/// What became of the sound of one track of a take, so far. A value.
struct SoundAccount {
    std::optional<CMTime> firstSamplePTS; ///< of the first buffer that came
    std::optional<CMTime> lastSamplePTS;  ///< end of the latest one
    int64_t framesWritten = 0;            ///< of the device's sound, handed to the file
    int64_t framesSilenced = 0;           ///< of silence, handed to the file where there was no sound
    int64_t framesCut = 0;                ///< came twice and were left out
    int64_t cuts = 0;                     ///< how many times that was
    std::vector<SoundLoss> losses{};      ///< in the order of their places
    std::optional<SoundDrift> drift{};    ///< nothing until it can be told
    bool isDriftCorrected = false;        ///< the finished file is stretched to the host clock's time

    int64_t framesLost() const {
        int64_t sum = 0;
        for (const SoundLoss& loss : losses)
            sum += loss.frames;
        return sum;
    }
};

/// The account of a track while it is being kept: its queue writes, the main thread reads at any moment. Any
/// thread.
class SoundAccountHolder {
public:
    SoundAccount read() const {
        MutexLock lock(mutex);
        return account;
    }
    /// `change` is handed the account; it must be short and must not call back.
    template <typename Change>
    void update(Change change) {
        MutexLock lock(mutex);
        change(account);
    }

    /// Sound from this time on isn't wanted any more.
    void endAt(CMTime time) {
        MutexLock lock(mutex);
        end_ = time;
    }
    std::optional<CMTime> end() const {
        MutexLock lock(mutex);
        return end_;
    }
    /// End of the latest buffer.
    std::optional<CMTime> lastSamplePTS() const {
        MutexLock lock(mutex);
        return account.lastSamplePTS;
    }

private:
    mutable Mutex mutex;
    SoundAccount account GUARDED_BY(mutex);
    std::optional<CMTime> end_ GUARDED_BY(mutex);
};

} // namespace vintra

#pragma once

#include "tests/platform/linux/wayland/PackedPicture.h"

#include "Vintra/platform/linux/runtime/FileDescriptor.h"

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

struct pw_buffer;
struct pw_stream;
struct pw_thread_loop;
struct spa_pod;

namespace vintra {

/// A desktop's video stream that does what a test says, in the session's PipeWire server until the end of this object.
/// Its buffers are files in memory, also those that it hands over as memory of a graphics card.
class ScriptedScreen {
public:
    struct Offer {
        spa_video_format video = SPA_VIDEO_FORMAT_BGRx;
        std::vector<uint64_t> modifiers; ///< empty for plain memory
    };
    struct Script {
        int width = 16;
        int height = 12;
        std::vector<Offer> offers{{}};
        /// Chosen where the receiver leaves a choice; the first of those otherwise.
        std::optional<uint64_t> preferredModifier;
        int planes = 1;                ///< of a graphics buffer
        bool hasUnmappable = false;    ///< graphics buffers can't be mapped
        bool hasOneUnmappable = false; ///< but the second of them
        bool hasStrayGraphics = false; ///< the second buffer is the graphics card's, whatever was agreed on
        bool tellsSizes = true;        ///< of graphics buffers
        bool decides = true;           ///< on one of the modifiers in common
        bool failsToAllocate = false;  ///< an error in the place of buffers
    };
    struct Region {
        int x = 0;
        int y = 0;
        uint32_t width = 0;
        uint32_t height = 0;
    };
    struct Sent {
        PackedPicture picture;
        std::vector<uint8_t> secondPlane = {};
        uint32_t offset = 0; ///< bytes before the first row
        std::optional<std::vector<Region>> damage = std::nullopt;
        std::optional<Region> crop = std::nullopt;
        uint32_t chunkFlags = 0;
        uint32_t headerFlags = 0;
        bool isEmpty = false; ///< no bytes, as KWin and mutter send for a pointer alone
    };

    explicit ScriptedScreen(Script script);
    ~ScriptedScreen();
    ScriptedScreen(const ScriptedScreen&) = delete;
    ScriptedScreen& operator=(const ScriptedScreen&) = delete;

    /// 0 if it couldn't be published.
    uint32_t node() const { return node_; }
    /// A connection to the server, as a portal hands it out.
    static FileDescriptor remote();

    /// Hands a picture out if the stream runs and a buffer is free.
    bool send(const Sent& sent);
    /// The server takes what was handed out while it was still at work on the picture before.
    void nudge();
    /// Offers something else from now on.
    void offer(Script changed);
    void end();

    /// The modifier that is agreed on; nothing for plain memory.
    std::optional<uint64_t> agreedModifier() const;
    /// Formats that have been agreed on, one after another.
    int negotiations() const;
    /// How often the stream began to run.
    int beginnings() const;

private:
    struct Events;
    struct Memory {
        int descriptor = -1;
        uint8_t* bytes = nullptr;
        size_t size = 0;
    };

    bool publish();
    std::vector<const spa_pod*> formats(std::optional<Offer> fixated);
    void formatChanged(const spa_pod* param);
    void addBuffer(pw_buffer& buffer);
    void removeBuffer(pw_buffer& buffer);
    void fill(pw_buffer& buffer, const Sent& sent);

    Script script;
    pw_thread_loop* loop = nullptr;
    pw_stream* stream = nullptr;
    uint32_t node_ = 0;
    std::vector<uint8_t> podMemory;
    // Guarded by the loop's lock.
    int state = 0;
    bool isGraphics = false;
    std::optional<uint64_t> modifier;
    int agreed = 0;
    int begun = 0;
    uint64_t sequence = 0;
    std::map<pw_buffer*, std::vector<Memory>> memory;
};

} // namespace vintra

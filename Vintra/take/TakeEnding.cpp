#include "Vintra/take/TakeEnding.h"

#include "Vintra/audio/CapturePCMSettings.h"

#include <algorithm>
#include <map>
#include <set>

namespace vintra {

void TakeEnding::expectLengths() {
    for (const Padding& padding : paddings) {
        const auto file = std::ranges::find(files, padding.url, &SavedFile::planned);
        if (file == files.end()) continue;
        file->gap = padding.gap;
        if (padding.frames > 0) file->expectedSeconds = static_cast<double>(padding.frames) / kTakeSampleRate;
    }
}

void TakeEnding::followFiles() {
    std::map<URL, URL> moved;
    std::set<URL> gone;
    std::set<URL> folders;
    for (const SavedFile& file : files) {
        if (file.problem)
            gone.insert(file.planned);
        else
            folders.insert(file.url.deletingLastPathComponent());
        moved[file.planned] = file.url;
    }
    const auto follow = [&moved](URL& url) {
        if (const auto found = moved.find(url); found != moved.end()) url = found->second;
    };
    for (Padding& padding : paddings) {
        // What stands in a lost file's place isn't the take's.
        if (gone.contains(padding.url)) padding.url = URL();
        follow(padding.url);
    }
    if (!take) return;
    if (take->screen) follow(*take->screen);
    for (URL& url : take->cameras)
        follow(url);
    for (URL& url : take->sounds)
        follow(url);
    if (take->cameraSound) follow(*take->cameraSound);
    if (folders.size() == 1) take->folder = *folders.begin();
}

} // namespace vintra

#include "Vintra/take/TakeRecord.h"

namespace vintra {

TakeRecord TakeRecord::of(const TakeFiles& files, TimelineEditor editor) {
    TakeRecord record;
    record.take = files.take;
    record.editor = editor;
    if (files.screen) record.files.push_back({File::Kind::screen, files.screen->lastPathComponent()});
    for (const URL& url : files.cameras)
        record.files.push_back({File::Kind::camera, url.lastPathComponent()});
    for (const URL& url : files.sounds)
        record.files.push_back({File::Kind::sound, url.lastPathComponent()});
    if (files.cameraSound) record.cameraSound = files.cameraSound->lastPathComponent();
    return record;
}

TakeFiles TakeRecord::filesIn(const URL& folder) const {
    TakeFiles result;
    result.take = take;
    result.folder = folder;
    result.markers = markers;
    for (const File& file : files) {
        const URL url = folder.appendingPathComponent(file.name);
        switch (file.kind) {
        case File::Kind::screen:
            result.screen = url;
            break;
        case File::Kind::camera:
            result.cameras.push_back(url);
            break;
        case File::Kind::sound:
            result.sounds.push_back(url);
            break;
        }
    }
    if (!cameraSound.empty()) result.cameraSound = folder.appendingPathComponent(cameraSound);
    return result;
}

} // namespace vintra

#include "Vintra/app/OutputFolderSetting.h"

#include "Vintra/app/Refresher.h"
#include "Vintra/platform/FileManager.h"
#include "Vintra/platform/UserDefaults.h"
#include "Vintra/take/ScreenRecorderManager.h"

namespace vintra {
namespace {

constexpr const char* kOutputFolderKey = "outputFolderPath";
constexpr int64_t kFolderCheckNanoseconds = 2'000'000'000;

} // namespace

OutputFolderSetting::OutputFolderSetting(const AppSurroundings& surroundings)
    : outputFolderPath(stringForKey(*surroundings.platform.userDefaults, kOutputFolderKey).value_or(""))
    , surroundings(surroundings)
    , timer(*surroundings.platform.dispatchQueues, *surroundings.platform.mainThread, kFolderCheckNanoseconds,
            [this] { check(); })
    , tasks(*surroundings.platform.mainThread) {
    check();
}

URL OutputFolderSetting::outputFolderURL() const {
    return surroundings.recorder.outputFolder(*outputFolderPath);
}

void OutputFolderSetting::check() {
    const bool isMissing =
        !outputFolderPath->empty() && !surroundings.platform.fileManager->fileExists(outputFolderURL());
    publish(outputFolderMissing, isMissing);
}

void OutputFolderSetting::chooseOutputFolder() {
    surroundings.desktop.chooseFolder("Choose a folder to save recordings in", outputFolderURL(),
                                      tasks.guarded([this](const URL& chosen) { setPath(chosen.path()); }));
}

void OutputFolderSetting::setPath(const std::string& path) {
    surroundings.platform.userDefaults->set(kOutputFolderKey, path);
    outputFolderPath.set(path);
    check();
}

void OutputFolderSetting::show() {
    FileManager& files = *surroundings.platform.fileManager;
    for (const SavedFile& file : surroundings.recorder.lastTakeSavedFiles()) {
        const URL& url = file.url;
        if (url.deletingLastPathComponent() == outputFolderURL() && files.fileExists(url)) {
            surroundings.desktop.showInFileBrowser(url);
            return;
        }
    }
    // The default folder comes into being with the first take.
    try {
        surroundings.desktop.showInFileBrowser(surroundings.recorder.prepareOutputFolder(*outputFolderPath));
    } catch (const SystemError& error) {
        surroundings.recorder.lastError.set(error.localizedDescription());
    }
}

} // namespace vintra

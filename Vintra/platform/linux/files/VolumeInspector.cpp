#include "Vintra/platform/linux/files/VolumeInspector.h"

#include <filesystem>
#include <fstream>
#include <sstream>
#include <sys/stat.h>
#include <sys/sysmacros.h>

namespace vintra {
namespace {

namespace fs = std::filesystem;

/// Devices made of devices made of devices: more than this is a circle.
constexpr int kDeepestStack = 8;

std::optional<int> numberIn(const fs::path& file) {
    std::ifstream stream(file);
    int number = 0;
    if (!(stream >> number)) return std::nullopt;
    return number;
}

bool lies(const std::string& path, const char* below) {
    return path.find(below) != std::string::npos;
}

} // namespace

std::optional<bool> VolumeInspector::isInternal(const URL& at) const {
    struct stat status {};
    URL place = at;
    while (stat(place.path().c_str(), &status) != 0) {
        const URL parent = place.deletingLastPathComponent();
        if (parent == place) return std::nullopt;
        place = parent;
    }
    const uint32_t deviceMajor = major(status.st_dev);
    const uint32_t deviceMinor = minor(status.st_dev);
    if (deviceMajor != 0) return deviceIsInternal(deviceMajor, deviceMinor);
    // btrfs and some others have device numbers of their own; the mount's source is the real device.
    const auto source = sourceOfMount(deviceMajor, deviceMinor);
    struct stat device {};
    if (!source || stat(source->c_str(), &device) != 0 || !S_ISBLK(device.st_mode)) return std::nullopt;
    return deviceIsInternal(major(device.st_rdev), minor(device.st_rdev));
}

std::optional<bool> VolumeInspector::deviceIsInternal(uint32_t major, uint32_t minor) const {
    return folderIsInternal(sysRoot + "/dev/block/" + std::to_string(major) + ":" + std::to_string(minor), 0);
}

/// A line is "id parent major:minor root mountpoint options... - type source superoptions".
std::optional<std::string> VolumeInspector::sourceOfMount(uint32_t major, uint32_t minor) const {
    const std::string numbers = std::to_string(major) + ":" + std::to_string(minor);
    std::ifstream stream(mountInfo);
    for (std::string line; std::getline(stream, line);) {
        std::istringstream words(line);
        std::string id, parent, device, word, type, source;
        words >> id >> parent >> device;
        if (device != numbers) continue;
        while (words >> word && word != "-") {
        }
        if (words >> type >> source) return source;
    }
    return std::nullopt;
}

std::optional<bool> VolumeInspector::folderIsInternal(const std::string& deviceFolder, int depth) const {
    std::error_code error;
    fs::path folder = fs::canonical(deviceFolder, error);
    if (error || depth > kDeepestStack) return std::nullopt;
    if (fs::exists(folder / "partition", error)) folder = folder.parent_path();

    bool hasParts = false;
    for (const auto& part : fs::directory_iterator(folder / "slaves", error)) {
        hasParts = true;
        const auto inside = folderIsInternal(part.path(), depth + 1);
        if (!inside || !*inside) return inside;
    }
    if (hasParts) return true;

    const auto removable = numberIn(folder / "removable");
    if (!removable) return std::nullopt;
    const std::string path = folder.string();
    if (*removable == 1 || lies(path, "/usb") || lies(path, "/firewire")) return false;
    // A loop or network device without parts says nothing of where its bytes lie.
    if (lies(path, "/devices/virtual/")) return std::nullopt;
    return true;
}

} // namespace vintra

#include "Vintra/platform/simulated/SimulatedDisk.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace vintra {

namespace {
constexpr int kMostLinksFollowed = 40; // as the kernel's own limit

std::vector<std::string> partsOf(const std::string& path) {
    std::vector<std::string> parts;
    size_t start = 0;
    while (start <= path.size()) {
        const size_t end = std::min(path.find('/', start), path.size());
        const std::string part = path.substr(start, end - start);
        if (part == "..") {
            if (!parts.empty()) parts.pop_back();
        } else if (!part.empty() && part != ".") {
            parts.push_back(part);
        }
        start = end + 1;
    }
    return parts;
}

std::string joined(const std::string& folder, const std::string& name) {
    return (folder == "/" ? folder : folder + "/") + name;
}
} // namespace

void throwDiskError(int code, const std::string& path) {
    throw SystemError("posix", code, path + ": " + std::strerror(code));
}

SimulatedDisk::SimulatedDisk() {
    items["/"] =
        std::make_shared<SimulatedDiskItem>(SimulatedDiskItem{SimulatedDiskItem::Kind::folder, {}, {}});
}

void SimulatedDisk::perform(SimulatedFileOperation operation, const std::string& path) {
    records.push_back({operation, path});
    if (fails && fails(operation, path)) throwDiskError(EIO, path);
}

void SimulatedDisk::write(SimulatedDiskItem& file, uint64_t offset, const uint8_t* bytes, size_t count) {
    uint64_t end = offset + count;
    bool isFull = false;
    if (capacityBytes && end > file.bytes.size()) {
        const uint64_t used = usedBytes();
        const uint64_t room = file.bytes.size() + (*capacityBytes > used ? *capacityBytes - used : 0);
        isFull = end > room;
        end = std::min(end, std::max(room, offset));
    }
    if (end > file.bytes.size()) file.bytes.resize(end);
    if (end > offset) std::copy_n(bytes, end - offset, file.bytes.begin() + static_cast<ptrdiff_t>(offset));
    if (isFull) throwDiskError(ENOSPC, "the simulated disk");
}

std::string SimulatedDisk::normalised(const std::string& path) {
    std::string result = "/";
    for (const std::string& part : partsOf(path))
        result = joined(result, part);
    return result;
}

std::string SimulatedDisk::followed(const std::string& path, bool lastPartToo) const {
    std::vector<std::string> rest = partsOf(path);
    std::ranges::reverse(rest);
    std::string result = "/";
    int links = 0;
    while (!rest.empty()) {
        const std::string part = rest.back();
        rest.pop_back();
        const std::string next = joined(result, part);
        const auto found = items.find(next);
        const bool isLink = found != items.end() && found->second->kind == SimulatedDiskItem::Kind::link;
        if (!isLink || (rest.empty() && !lastPartToo) || ++links > kMostLinksFollowed) {
            result = next;
            continue;
        }
        const std::string& target = found->second->target;
        const std::string whole = normalised(target.front() == '/' ? target : joined(result, target));
        std::vector<std::string> parts = partsOf(whole);
        rest.insert(rest.end(), parts.rbegin(), parts.rend());
        result.assign(1, '/');
    }
    return result;
}

SimulatedDisk::Item SimulatedDisk::find(const std::string& path) const {
    const auto found = items.find(followed(path, true));
    return found == items.end() || found->second->kind == SimulatedDiskItem::Kind::link ? nullptr
                                                                                        : found->second;
}

uint64_t SimulatedDisk::usedBytes() const {
    uint64_t sum = 0;
    for (const auto& [path, item] : items)
        sum += item->bytes.size();
    return sum;
}

} // namespace vintra

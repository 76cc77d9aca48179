#include "Vintra/timeline/TakeFolder.h"

#include <algorithm>
#include <map>
#include <set>
#include <string_view>
#include <tuple>

namespace vintra {
namespace {

constexpr std::string_view kScreenEnding = "_video.mov";
constexpr std::string_view kCameraEnding = "_webcam.mov";
constexpr std::string_view kCameraMark = "_webcam-";
constexpr std::string_view kMovieEnding = ".mov";
constexpr std::string_view kSoundEnding = ".wav";

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

bool areDigits(std::string_view text) {
    return !text.empty() && std::ranges::all_of(text, isDigit);
}

/// What stands before the ending; nothing if that isn't the name's ending or all of it.
std::optional<std::string> beforeEnding(std::string_view name, std::string_view ending) {
    if (name.size() <= ending.size() || !name.ends_with(ending)) return std::nullopt;
    return std::string(name.substr(0, name.size() - ending.size()));
}

struct Camera {
    std::string take;
    int number = 1;
};

std::optional<Camera> camera(std::string_view name) {
    if (const auto take = beforeEnding(name, kCameraEnding)) return Camera{*take, 1};
    const auto stem = beforeEnding(name, kMovieEnding);
    const size_t mark = stem ? stem->rfind(kCameraMark) : std::string::npos;
    if (mark == std::string::npos || mark == 0) return std::nullopt;
    const std::string number = stem->substr(mark + kCameraMark.size());
    if (!areDigits(number) || number.size() > 4 || number[0] == '0' || number == "1") return std::nullopt;
    return Camera{stem->substr(0, mark), std::stoi(number)};
}

/// The take's name where the recording made it up itself: "session_2026-11-21_054718".
std::optional<std::string> generatedName(std::string_view stem) {
    constexpr std::string_view pattern = "session_####-##-##_######_";
    if (stem.size() <= pattern.size()) return std::nullopt;
    for (size_t index = 0; index < pattern.size(); ++index)
        if (pattern[index] == '#' ? !isDigit(stem[index]) : stem[index] != pattern[index])
            return std::nullopt;
    return std::string(stem.substr(0, pattern.size() - 1));
}

/// The take's name where the track's is one that many takes have.
std::optional<std::string> nameBeforeUsualTrack(std::string_view stem) {
    if (const auto generated = generatedName(stem)) return generated;
    // "mic-2" is a second track that was to be called "mic".
    const size_t hyphen = stem.rfind('-');
    if (hyphen != std::string_view::npos && areDigits(stem.substr(hyphen + 1))) stem = stem.substr(0, hyphen);
    if (const auto take = beforeEnding(stem, "_mic")) return take;
    return beforeEnding(stem, "_computer-audio");
}

std::optional<std::string> nameBeforeLastTrack(std::string_view stem) {
    const auto cutAt = [&stem](size_t underscore) { stem = stem.substr(0, underscore); };
    const size_t channel = stem.rfind("_ch");
    if (channel != std::string_view::npos && areDigits(stem.substr(channel + 3)) && stem.find('_') != channel)
        cutAt(channel);
    const size_t underscore = stem.rfind('_');
    if (underscore == std::string_view::npos || underscore == 0) return std::nullopt;
    cutAt(underscore);
    return std::string(stem);
}

bool isSoundOf(const std::string& take, std::string_view stem) {
    return stem.size() > take.size() + 1 && stem.starts_with(take) && stem[take.size()] == '_';
}

/// The longest of the takes' names that fits the sound file.
std::optional<std::string> longestFit(const std::set<std::string>& takes, std::string_view stem) {
    std::optional<std::string> longest;
    for (const std::string& take : takes)
        if (isSoundOf(take, stem) && (!longest || take.size() > longest->size())) longest = take;
    return longest;
}

/// The names of all takes: movies tell them best, then tracks with the usual names, then any.
std::set<std::string> takeNames(const std::vector<std::string>& names) {
    std::set<std::string> takes;
    for (const std::string& name : names) {
        if (const auto screenTake = beforeEnding(name, kScreenEnding)) takes.insert(*screenTake);
        if (const auto cameraFile = camera(name)) takes.insert(cameraFile->take);
    }
    for (const auto nameOf : {nameBeforeUsualTrack, nameBeforeLastTrack}) {
        std::set<std::string> found;
        for (const std::string& name : names) {
            const auto stem = beforeEnding(name, kSoundEnding);
            if (!stem || longestFit(takes, *stem)) continue;
            if (const auto take = nameOf(*stem)) found.insert(*take);
        }
        takes.merge(found);
    }
    return takes;
}

/// The microphone, the computer's sound, then the rest by name, as a recording lists them.
void sortSounds(TakeFiles& files) {
    const auto rank = [&files](const URL& url) {
        const std::string name = url.lastPathComponent();
        const int place = name == files.take + "_mic.wav"              ? 0
                          : name == files.take + "_computer-audio.wav" ? 1
                                                                       : 2;
        return std::tuple(place, name);
    };
    std::ranges::sort(files.sounds,
                      [&rank](const URL& left, const URL& right) { return rank(left) < rank(right); });
}

TakeFiles collect(const URL& folder, const std::vector<std::string>& names, const std::string& take,
                  const std::set<std::string>& takes) {
    TakeFiles files;
    files.take = take;
    files.folder = folder;
    std::map<int, URL> cameras;
    for (const std::string& name : names) {
        const URL url = folder.appendingPathComponent(name);
        if (name == take + std::string(kScreenEnding)) files.screen = url;
        const auto cameraFile = camera(name);
        if (cameraFile && cameraFile->take == take) cameras[cameraFile->number] = url;
        const auto stem = beforeEnding(name, kSoundEnding);
        if (stem && longestFit(takes, *stem) == take) files.sounds.push_back(url);
    }
    for (const auto& [number, url] : cameras)
        files.cameras.push_back(url);
    sortSounds(files);
    const URL microphone = folder.appendingPathComponent(take + "_mic.wav");
    if (!files.sounds.empty() && files.sounds.front() == microphone) files.cameraSound = microphone;
    return files;
}

std::vector<std::string> visible(const std::vector<std::string>& names) {
    std::vector<std::string> result;
    for (const std::string& name : names)
        if (!name.empty() && name[0] != '.') result.push_back(name);
    return result;
}

} // namespace

std::vector<TakeFiles> takesInFolder(const URL& folder, const std::vector<std::string>& names) {
    const std::vector<std::string> candidates = visible(names);
    const std::set<std::string> takes = takeNames(candidates);
    std::vector<TakeFiles> result;
    for (const std::string& take : takes)
        result.push_back(collect(folder, candidates, take, takes));
    return result;
}

std::optional<TakeFiles> takeInFolder(const URL& folder, const std::vector<std::string>& names,
                                      const std::string& take) {
    const std::vector<std::string> candidates = visible(names);
    std::set<std::string> takes = takeNames(candidates);
    takes.insert(take);
    TakeFiles files = collect(folder, candidates, take, takes);
    if (!files.screen && files.cameras.empty() && files.sounds.empty()) return std::nullopt;
    return files;
}

} // namespace vintra

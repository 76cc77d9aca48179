#include "Vintra/platform/linux/updates/LinuxUpdateInstallation.h"

#include "Vintra/platform/SystemError.h"
#include "Vintra/platform/linux/files/UserDirectories.h"
#include "Vintra/platform/linux/updates/Appcast.h"
#include "Vintra/platform/linux/updates/Ed25519Signature.h"
#include "Vintra/platform/linux/updates/PackageKitWords.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace vintra {
namespace {

using Outcome = UpdateInstallation::Outcome;

constexpr const char* kNotSetUpHere = "Updates aren't set up in this copy of Vintra.";
constexpr const char* kNoPackage =
    "This copy of Vintra wasn't installed from its package, so it is updated the way it was installed.";
constexpr const char* kNotSigned = "The file isn't signed by Vintra's makers, so it wasn't used.";
constexpr const char* kOtherPackage =
    "The file isn't the version that the feed names, so it wasn't used; try again later.";
constexpr const char* kNotThere = "The package service left the update undone; try again later.";

/// All of the file if it has that length.
std::optional<std::vector<uint8_t>> bytesOf(FileManager& files, const URL& file, uint64_t length) {
    if (files.sizeOfFile(file) != length) return std::nullopt;
    std::vector<uint8_t> bytes(length);
    const auto open = files.openForReading(file);
    size_t filled = 0;
    while (filled < bytes.size()) {
        const size_t count = open->read(bytes.data() + filled, bytes.size() - filled);
        if (count == 0) return std::nullopt;
        filled += count;
    }
    return bytes;
}

Outcome judgedFile(FileManager& files, const URL& file, const SUAppcastItem& item,
                   const std::string& publicKey) {
    try {
        const auto bytes = bytesOf(files, file, item.contentLength);
        if (!bytes) return "The file isn't as long as the feed says; try again.";
        if (!Ed25519Signature::verify(item.edSignature, publicKey, *bytes)) return kNotSigned;
        return std::nullopt;
    } catch (const SystemError& error) {
        return error.localizedDescription();
    }
}

/// Numbers between points; what isn't one counts as 0.
std::vector<unsigned long> systemNumbers(const std::string& version) {
    std::vector<unsigned long> numbers;
    for (const char* at = version.c_str(); *at != '\0'; ++at) {
        char* end = nullptr;
        numbers.push_back(std::strtoul(at, &end, 10));
        const char* const point =
            std::find(static_cast<const char*>(end), version.c_str() + version.size(), '.');
        if (*point == '\0') break;
        at = point;
    }
    while (!numbers.empty() && numbers.back() == 0)
        numbers.pop_back();
    return numbers;
}

} // namespace

URL LinuxUpdateInstallation::cachesFolder() {
    const char* const folder = std::getenv("XDG_CACHE_HOME");
    const URL caches = folder && folder[0] == '/' ? URL::fileURL(folder)
                                                  : userHomeDirectory().appendingPathComponent(".cache");
    return caches.appendingPathComponent("vintra");
}

std::string LinuxUpdateInstallation::pathOfRunningProgram() {
    std::error_code error;
    const auto path = std::filesystem::read_symlink("/proc/self/exe", error);
    return error ? "" : path.string();
}

LinuxUpdateInstallation::LinuxUpdateInstallation(Machine machine, MainThreadBus& bus, UpdateSource source)
    : machine(std::move(machine))
    , bus(bus)
    , source(std::move(source))
    , tasks(*this->machine.mainThread) {}

void LinuxUpdateInstallation::begin(const std::string& member, PackageKitTransaction::AppendArguments append,
                                    PackageKitTransaction::OnEnd onEnd,
                                    PackageKitTransaction::OnProgress onProgress) {
    transaction = std::make_unique<PackageKitTransaction>(bus, member, std::move(append), std::move(onEnd),
                                                          std::move(onProgress));
}

void LinuxUpdateInstallation::checkOwnership(std::function<void(Outcome)> onChecked) {
    const auto answer = [this, onChecked](Outcome outcome) {
        machine.mainThread->post(
            tasks.guarded([onChecked, outcome = std::move(outcome)] { onChecked(outcome); }));
    };
    const std::string leftTo = "Vintra came with " + machine.operatingSystem + ", which keeps it up to date.";
    if (source.isLeftToDistribution) return answer(leftTo);
    if (source.publicKey.empty()) return answer(kNotSetUpHere);
    if (machine.runningProgram != source.programPath) return answer(kNoPackage);
    begin("Resolve", PackageKitTransaction::installedPackage(source.packageName),
          [answer, leftTo](const PackageKitTransaction::Result& result) {
              if (result.failure) return answer(PackageKitWords::sentenceOf(*result.failure));
              if (result.packages.empty()) return answer(kNoPackage);
              answer(PackageKitWords::isFromRepository(result.packages.front()) ? Outcome(leftTo)
                                                                                : std::nullopt);
          });
}

std::vector<SUAppcastItem> LinuxUpdateInstallation::itemsOfFeed(const std::string& feed) const {
    return Appcast::items(feed);
}

/// A system without versions is always the latest.
bool LinuxUpdateInstallation::satisfies(const std::string& minimumSystemVersion) const {
    if (machine.systemVersion.empty()) return true;
    return systemNumbers(machine.systemVersion) >= systemNumbers(minimumSystemVersion);
}

URL LinuxUpdateInstallation::downloadFolder() {
    machine.fileManager->createDirectory(machine.downloadFolder);
    ::chmod(machine.downloadFolder.path().c_str(), S_IRWXU); // nobody else is to change what lies in it
    return machine.downloadFolder;
}

void LinuxUpdateInstallation::verify(const URL& file, const SUAppcastItem& item,
                                     std::function<void(Outcome)> onVerified) {
    const auto judged = tasks.guarded([this, file, item, onVerified](const Outcome& outcome) {
        if (outcome) return onVerified(outcome);
        checkPackage(file, item, onVerified);
    });
    machine.dispatchQueues->globalQueue(QualityOfService::userInitiated)
        ->async([mainThread = machine.mainThread, files = machine.fileManager, file, item,
                 key = source.publicKey, judged] {
            const Outcome outcome = judgedFile(*files, file, item, key);
            mainThread->post([judged, outcome] { judged(outcome); });
        });
}

/// A good signature on another file, such as that of an earlier version, isn't enough.
void LinuxUpdateInstallation::checkPackage(const URL& file, const SUAppcastItem& item,
                                           std::function<void(Outcome)> onVerified) {
    verified = source.packageName + ";" + item.displayVersionString + "-" + item.versionString + ";";
    begin("GetDetailsLocal", PackageKitTransaction::localFile(file.path()),
          [wanted = verified, onVerified](const PackageKitTransaction::Result& result) {
              if (result.failure) return onVerified(PackageKitWords::sentenceOf(*result.failure));
              const bool isWanted =
                  result.packages.size() == 1 && result.packages.front().starts_with(wanted);
              onVerified(isWanted ? Outcome() : Outcome(kOtherPackage));
          });
}

void LinuxUpdateInstallation::install(const URL& file, OnInstall on) {
    const auto installed = [this, ended = on.ended](const PackageKitTransaction::Result& result) {
        if (result.failure) return ended(PackageKitWords::sentenceOf(*result.failure));
        // Not from within the transaction that it replaces.
        machine.mainThread->post(tasks.guarded([this, ended] { checkInstalled(ended); }));
    };
    begin("InstallFiles", PackageKitTransaction::filesToInstall(file.path()), installed, on.progress);
}

/// A service that says it has done it may have left it undone.
void LinuxUpdateInstallation::checkInstalled(std::function<void(Outcome)> ended) {
    begin("Resolve", PackageKitTransaction::installedPackage(source.packageName),
          [wanted = verified, ended](const PackageKitTransaction::Result& result) {
              const bool isThere = std::ranges::any_of(
                  result.packages, [&](const auto& id) { return id.starts_with(wanted); });
              ended(isThere || result.failure ? Outcome() : Outcome(kNotThere));
          });
}

void LinuxUpdateInstallation::becomeProgram(const std::string& path) {
    ::execl(path.c_str(), path.c_str(), static_cast<char*>(nullptr));
}

} // namespace vintra

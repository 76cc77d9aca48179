// Writes timeline documents for a folder that holds a finished take.

#include "Options.h"

#include "Vintra/platform/SystemError.h"
#include "Vintra/platform/UTF8.h"
#include "Vintra/platform/linux/files/LinuxFileManager.h"
#include "Vintra/platform/linux/movie/LinuxAssetProbing.h"
#include "Vintra/platform/linux/runtime/LinuxLog.h"
#include "Vintra/timeline/TakeFolder.h"
#include "Vintra/timeline/TimelineFile.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <optional>
#include <unistd.h>

namespace vintra {
namespace {

enum ExitCode { success = 0, failure = 1, wrongUsage = 2 };

void complain(const std::string& sentence) {
    std::fprintf(stderr, "vintra-timeline: %s\n", printable(sentence).c_str());
}

/// A line of the standard output: a name as it is, but for one that would act on the user's terminal.
void tell(const std::string& name) {
    const bool isWatched = isatty(STDOUT_FILENO) == 1;
    std::printf("%s\n", isWatched ? printable(name).c_str() : name.c_str());
}

/// Documents name files by absolute paths.
URL absoluteFolder(const std::string& path) {
    return URL::fileURL(std::filesystem::absolute(path).lexically_normal().string());
}

std::string inQuotes(const std::string& text) {
    return "“" + text + "”";
}

/// The take that was asked for, or the only one. Says why where there is none, and lists several.
std::optional<TakeFiles> chooseTake(const URL& folder, const std::vector<std::string>& names,
                                    const TimelineToolOptions& options, ExitCode& code) {
    const std::vector<TakeFiles> takes = takesInFolder(folder, names);
    if (options.take) {
        auto take = takeInFolder(folder, names, *options.take);
        code = failure;
        if (!take)
            complain("The folder " + inQuotes(folder.path()) + " holds no take " + inQuotes(*options.take) +
                     ".");
        return take;
    }
    if (takes.size() == 1) return takes.front();
    if (takes.empty()) {
        code = failure;
        complain("The folder " + inQuotes(folder.path()) + " holds no take.");
        return std::nullopt;
    }
    code = wrongUsage;
    complain("The folder holds " + std::to_string(takes.size()) + " takes. Choose one with --take:");
    for (const TakeFiles& take : takes)
        tell(take.take);
    return std::nullopt;
}

void nameFilesLeftOut(const TakeFiles& files, const TimelineFile::Take& take) {
    for (const URL& url : TimelineFile::filesByName(files)) {
        if (!take.media.contains(url))
            complain("The file " + inQuotes(url.lastPathComponent()) +
                     " can't be read as sound or film, and is left out.");
    }
}

ExitCode writeDocuments(const TimelineToolOptions& options) {
    LinuxFileManager fileManager;
    const URL folder = absoluteFolder(options.folder);
    ExitCode code = success;
    auto files = chooseTake(folder, fileManager.contentsOfDirectory(folder), options, code);
    if (!files) return code;
    files->markers = options.markers;
    if (options.output) files->folder = absoluteFolder(*options.output);
    LinuxAssetProbing probing;
    LinuxLog log(LogLevel::error);
    const TimelineFile::Take take = TimelineFile::inventory(*files, probing, fileManager);
    nameFilesLeftOut(*files, take);
    if (take.order.empty()) {
        complain("No file of the take " + inQuotes(files->take) + " can be read.");
        return failure;
    }
    fileManager.createDirectory(files->folder);
    for (const TimelineEditor editor : options.editors) {
        const URL written = TimelineFile::writeDocument(take, editor, fileManager, log);
        tell(written.path());
    }
    return success;
}

ExitCode run(const std::vector<std::string>& arguments) {
    try {
        const TimelineToolOptions options = parseTimelineToolOptions(arguments);
        if (!options.help) return writeDocuments(options);
        std::fputs(kTimelineToolUsage, stdout);
        return success;
    } catch (const UsageError& error) {
        complain(error.what());
        std::fputs(kTimelineToolUsage, stderr);
        return wrongUsage;
    } catch (const SystemError& error) {
        complain(error.localizedDescription());
    } catch (const std::exception& error) {
        complain(error.what());
    }
    return failure;
}

/// Whoever reads the output is to know that it isn't all there.
ExitCode flushed(ExitCode code) {
    if (std::fflush(stdout) == 0 && !std::ferror(stdout)) return code;
    complain(std::string("The output can't be written (") + std::strerror(errno) + ").");
    return code == success ? failure : code;
}

} // namespace
} // namespace vintra

int main(int argumentCount, char** arguments) {
    return vintra::flushed(vintra::run({arguments + 1, arguments + argumentCount}));
}

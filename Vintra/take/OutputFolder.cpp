#include "Vintra/take/OutputFolder.h"

namespace vintra {

URL defaultOutputFolder(const FileManager& files) {
    const auto movies = files.moviesDirectories();
    const URL parent =
        movies.empty() ? files.homeDirectory().appendingPathComponent("Movies") : movies.front();
    return parent.appendingPathComponent("Vintra");
}

URL outputFolder(const FileManager& files, const std::string& forStoredPath) {
    return forStoredPath.empty() ? defaultOutputFolder(files) : URL::fileURL(forStoredPath);
}

URL prepareOutputFolder(FileManager& files, const std::string& forStoredPath) {
    URL folder = outputFolder(files, forStoredPath);
    files.createDirectory(folder);
    return folder;
}

} // namespace vintra

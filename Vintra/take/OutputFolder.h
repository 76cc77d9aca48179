#pragma once

#include "Vintra/platform/FileManager.h"
#include "Vintra/platform/URL.h"

#include <string>

namespace vintra {

/// Where takes go unless the user chose another folder: "Vintra" in the user's folder for movies.
URL defaultOutputFolder(const FileManager& files);
/// The stored path as a folder; the default one if it is empty.
URL outputFolder(const FileManager& files, const std::string& forStoredPath);
/// The same folder, made if it is missing. Throws `SystemError`.
URL prepareOutputFolder(FileManager& files, const std::string& forStoredPath);

} // namespace vintra

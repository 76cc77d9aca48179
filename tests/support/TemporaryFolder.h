#pragma once

#include "Vintra/platform/URL.h"

#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdlib.h>
#include <string>

namespace vintra {

/// A fresh folder of the file system's own, removed with all it holds at the end.
class TemporaryFolder {
public:
    TemporaryFolder() {
        std::string pattern = (std::filesystem::temp_directory_path() / "vintra-test-XXXXXX").string();
        folder = URL::fileURL(mkdtemp(pattern.data()));
    }
    ~TemporaryFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(folder.path(), ignored);
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    const URL& url() const { return folder; }
    URL file(const std::string& name) const { return folder.appendingPathComponent(name); }

    URL write(const std::string& name, const std::string& text) const {
        std::ofstream(file(name).path(), std::ios::binary) << text;
        return file(name);
    }
    std::string read(const std::string& name) const {
        std::ostringstream text;
        text << std::ifstream(file(name).path(), std::ios::binary).rdbuf();
        return text.str();
    }

private:
    URL folder;
};

} // namespace vintra

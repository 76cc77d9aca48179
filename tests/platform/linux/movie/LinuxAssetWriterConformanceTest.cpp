#include "Vintra/platform/linux/movie/LinuxAssetWriters.h"
#include "tests/platform/AssetWriterConformance.h"
#include "tests/support/TemporaryFolder.h"

#include <chrono>
#include <fstream>
#include <thread>

namespace vintra {
namespace {

class LinuxBackend {
public:
    AssetWriters& writers() { return makers; }
    URL folder() { return temporary.url(); }
    bool fileExists(const URL& url) { return std::filesystem::exists(url.path()); }
    void makeFile(const URL& url, const std::string& text) { std::ofstream(url.path()) << text; }
    std::string contents(const URL& url) {
        std::ifstream file(url.path(), std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }
    bool runUntil(const std::function<bool()>& done) {
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(60);
        while (!done()) {
            if (std::chrono::steady_clock::now() > end) return false;
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        return true;
    }

private:
    TemporaryFolder temporary;
    LinuxAssetWriters makers;
};

INSTANTIATE_TYPED_TEST_SUITE_P(Linux, AssetWriterConformance, LinuxBackend);

} // namespace
} // namespace vintra

#include "Vintra/platform/linux/web/CurlDownload.h"

#include "Vintra/platform/linux/runtime/LinuxHostClock.h"

#include <curl/header.h>
#include <utility>

namespace vintra {
namespace {

constexpr int64_t kProgressInterval = 100'000'000; // nanoseconds: as often as a window shows it
constexpr long kOK = 200;
constexpr long kPartialContent = 206;
constexpr long kRangeNotSatisfiable = 416;

SystemError downloadError(CURLcode code, const std::string& sentence) {
    return SystemError("web", code, sentence);
}

} // namespace

CurlDownload::CurlDownload(Surroundings surroundings, std::shared_ptr<CurlTransferHandle> handle,
                           WebDownload download, WebRequests::OnDownload on)
    : CurlTransfer(std::move(surroundings), std::move(handle), download.address, download.redirects)
    , download(download)
    , on(std::make_shared<const WebRequests::OnDownload>(std::move(on)))
    , resumes(download.resumes) {}

bool CurlDownload::configure() {
    file.reset();
    offset = 0;
    try {
        FileManager& files = *surroundings.fileManager;
        if (resumes && files.fileExists(download.file)) offset = files.sizeOfFile(download.file);
    } catch (const SystemError& error) {
        end(error);
        return false;
    }
    if (offset == download.length) {
        tell([on = on] { on->ended(std::nullopt); });
        return false;
    }
    if (offset > download.length) offset = 0;
    if (offset > 0) addHeader("Range: bytes=" + std::to_string(offset) + "-");
    set(CURLOPT_LOW_SPEED_LIMIT, 1L);
    set(CURLOPT_LOW_SPEED_TIME, static_cast<long>(download.patienceSeconds));
    return true;
}

bool CurlDownload::take(const char* bytes, size_t count) {
    if (status() != kOK && status() != kPartialContent) return true; // an error's text
    if (!file && !openFile()) return false;
    if (count > download.length - offset) {
        problem = downloadError(CURLE_FILESIZE_EXCEEDED,
                                "The file on the server is longer than it should be; try again later.");
        return false;
    }
    try {
        file->write(reinterpret_cast<const uint8_t*>(bytes), count);
    } catch (const SystemError& error) {
        problem = error;
        return false;
    }
    offset += count;
    tellProgress();
    return true;
}

/// A server that can't go on from there sends all of it.
bool CurlDownload::openFile() {
    try {
        if (status() == kPartialContent && !rangeBeginsAtOffset()) {
            problem = downloadError(
                CURLE_RANGE_ERROR, "The server sent another part of the file than was asked for; try again.");
            return false;
        }
        if (status() == kOK) offset = 0;
        if (offset == 0) surroundings.fileManager->createFile(download.file);
        file = surroundings.fileManager->openForWriting(download.file);
        file->seek(offset);
        return true;
    } catch (const SystemError& error) {
        problem = error;
        return false;
    }
}

bool CurlDownload::rangeBeginsAtOffset() const {
    curl_header* range = nullptr;
    if (curl_easy_header(get(), "Content-Range", 0, CURLH_HEADER, -1, &range) != CURLHE_OK) return false;
    return std::string(range->value).starts_with("bytes " + std::to_string(offset) + "-");
}

/// The server's file is no longer the one that was begun.
bool CurlDownload::wantsAnotherTry(long status) {
    if (status != kRangeNotSatisfiable || !resumes) return false;
    resumes = false;
    return true;
}

void CurlDownload::end(std::optional<SystemError> error) {
    if (!error) error = finishedFile();
    file.reset();
    tell([on = on, error = std::move(error)] { on->ended(error); });
}

std::optional<SystemError> CurlDownload::finishedFile() {
    if (status() != kOK && status() != kPartialContent) {
        return downloadError(CURLE_HTTP_RETURNED_ERROR, "The server answered with the error " +
                                                            std::to_string(status()) + "; try again later.");
    }
    if (!file || offset != download.length) {
        return downloadError(CURLE_PARTIAL_FILE,
                             "The file on the server is shorter than it should be; try again later.");
    }
    try {
        file->close();
    } catch (const SystemError& error) {
        return error;
    }
    return std::nullopt;
}

void CurlDownload::tellProgress() {
    const int64_t now = monotonicNanoseconds();
    if (now < nextProgress && offset != download.length) return;
    nextProgress = now + kProgressInterval;
    tell([on = on, offset = offset] { on->received(offset); });
}

} // namespace vintra

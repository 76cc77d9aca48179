#pragma once

#include "Vintra/platform/FileManager.h"
#include "Vintra/platform/SystemError.h"

#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>

namespace vintra {

/// What every file system owes. A backend's test names its own `Backend`, made afresh for each test:
///
///     struct Backend {
///         FileManager& fileManager();
///         URL folder();                                            // exists, empty, no link in its path
///         void makeLink(const URL& at, const std::string& target);
///     };
///     INSTANTIATE_TYPED_TEST_SUITE_P(Linux, FileManagerConformance, Backend);
template <typename Backend>
class FileManagerConformance : public ::testing::Test {
protected:
    using Names = std::vector<std::string>;

    Backend backend;

    FileManager& files() { return backend.fileManager(); }
    URL url(const std::string& name) { return backend.folder().appendingPathComponent(name); }
    static const uint8_t* bytesOf(const std::string& text) {
        return reinterpret_cast<const uint8_t*>(text.data());
    }
    void write(const URL& at, const std::string& text) {
        files().createFile(at);
        const auto handle = files().openForWriting(at);
        handle->write(bytesOf(text), text.size());
        handle->close();
    }
    std::string read(FileHandle& handle, size_t count) {
        std::string text(count, '\0');
        text.resize(handle.read(reinterpret_cast<uint8_t*>(text.data()), count));
        return text;
    }
    std::string read(const URL& at) {
        const auto handle = files().openForReading(at);
        std::string text;
        for (std::string part = read(*handle, 1000); !part.empty(); part = read(*handle, 1000))
            text += part;
        return text;
    }
};

TYPED_TEST_SUITE_P(FileManagerConformance);

TYPED_TEST_P(FileManagerConformance, whatIsWrittenReadsBack) {
    this->write(this->url("a"), std::string("bytes\0 and more", 15));
    EXPECT_TRUE(this->files().fileExists(this->url("a")));
    EXPECT_EQ(this->files().sizeOfFile(this->url("a")), 15u);
    EXPECT_EQ(this->read(this->url("a")), std::string("bytes\0 and more", 15));
}

TYPED_TEST_P(FileManagerConformance, aReadAtTheEndGivesNothing) {
    this->write(this->url("a"), "abc");
    const auto handle = this->files().openForReading(this->url("a"));
    EXPECT_EQ(this->read(*handle, 2), "ab");
    EXPECT_EQ(this->read(*handle, 2), "c");
    EXPECT_EQ(this->read(*handle, 2), "");
    handle->seek(1);
    EXPECT_EQ(this->read(*handle, 9), "bc");
    handle->seek(100);
    EXPECT_EQ(this->read(*handle, 9), "");
}

TYPED_TEST_P(FileManagerConformance, openingForWritingKeepsWhatIsThere) {
    this->write(this->url("a"), "abcdef");
    const auto handle = this->files().openForWriting(this->url("a"));
    handle->write(this->bytesOf("X"), 1);
    handle->seek(3);
    handle->write(this->bytesOf("YZ"), 2);
    handle->close();
    EXPECT_EQ(this->read(this->url("a")), "XbcYZf");
}

TYPED_TEST_P(FileManagerConformance, creatingAFileEmptiesTheOneThatIsThere) {
    this->write(this->url("a"), "abc");
    this->files().createFile(this->url("a"));
    EXPECT_EQ(this->files().sizeOfFile(this->url("a")), 0u);
}

TYPED_TEST_P(FileManagerConformance, whatIsMissingThrows) {
    const URL missing = this->url("missing");
    EXPECT_FALSE(this->files().fileExists(missing));
    EXPECT_THROW(this->files().sizeOfFile(missing), SystemError);
    EXPECT_THROW(this->files().openForReading(missing), SystemError);
    EXPECT_THROW(this->files().openForWriting(missing), SystemError);
    EXPECT_THROW(this->files().removeItem(missing), SystemError);
    EXPECT_THROW(this->files().contentsOfDirectory(missing), SystemError);
    EXPECT_THROW(this->files().replaceItem(this->url("a"), missing), SystemError);
    EXPECT_THROW(this->files().createFile(missing.appendingPathComponent("a")), SystemError);
    EXPECT_THROW(this->files().writeAtomically(missing.appendingPathComponent("a"), "x"), SystemError);
    EXPECT_FALSE(this->files().fileExists(missing));
}

TYPED_TEST_P(FileManagerConformance, anErrorSaysWhatFailed) {
    try {
        this->files().openForReading(this->url("missing"));
        FAIL() << "it opened";
    } catch (const SystemError& error) {
        EXPECT_NE(error.code(), 0);
        EXPECT_FALSE(error.domain().empty());
        EXPECT_NE(error.localizedDescription().find("missing"), std::string::npos);
    }
}

TYPED_TEST_P(FileManagerConformance, foldersAreMadeWithAllOnTheWay) {
    this->files().createDirectory(this->url("one/two/three"));
    EXPECT_TRUE(this->files().fileExists(this->url("one/two/three")));
    this->files().createDirectory(this->url("one/two/three"));
    this->write(this->url("file"), "x");
    EXPECT_THROW(this->files().createDirectory(this->url("file")), SystemError);
    EXPECT_THROW(this->files().createDirectory(this->url("file/below")), SystemError);
    EXPECT_EQ(this->read(this->url("file")), "x");
}

TYPED_TEST_P(FileManagerConformance, aFolderListsItsOwnNamesSorted) {
    this->write(this->url("b"), "");
    this->write(this->url("a.wav"), "");
    this->write(this->url(".hidden"), "");
    this->files().createDirectory(this->url("sub/deeper"));
    this->write(this->url("sub/c"), "");
    EXPECT_EQ(this->files().contentsOfDirectory(this->backend.folder()),
              (typename TestFixture::Names{".hidden", "a.wav", "b", "sub"}));
    EXPECT_EQ(this->files().contentsOfDirectory(this->url("sub")),
              (typename TestFixture::Names{"c", "deeper"}));
}

TYPED_TEST_P(FileManagerConformance, removingAFolderTakesWhatIsInIt) {
    this->files().createDirectory(this->url("sub/deeper"));
    this->write(this->url("sub/deeper/a"), "x");
    this->write(this->url("subordinate"), "x");
    this->files().removeItem(this->url("sub"));
    EXPECT_FALSE(this->files().fileExists(this->url("sub")));
    EXPECT_FALSE(this->files().fileExists(this->url("sub/deeper/a")));
    EXPECT_TRUE(this->files().fileExists(this->url("subordinate")));
}

TYPED_TEST_P(FileManagerConformance, replacingPutsTheNewFileInThePlaceOfTheOld) {
    this->write(this->url("recorded.wav"), "old");
    this->write(this->url(".temporary"), "new");
    const auto source = this->files().openForReading(this->url("recorded.wav"));
    this->files().replaceItem(this->url("recorded.wav"), this->url(".temporary"));
    EXPECT_EQ(this->read(this->url("recorded.wav")), "new");
    EXPECT_FALSE(this->files().fileExists(this->url(".temporary")));
    EXPECT_EQ(this->read(*source, 10), "old") << "an open file goes on with what it opened";
}

TYPED_TEST_P(FileManagerConformance, aFailedReplacementLeavesTheOriginal) {
    this->write(this->url("recorded.wav"), "old");
    EXPECT_THROW(this->files().replaceItem(this->url("recorded.wav"), this->url("missing")), SystemError);
    EXPECT_EQ(this->read(this->url("recorded.wav")), "old");
}

TYPED_TEST_P(FileManagerConformance, anAtomicWriteLeavesOneFileWithTheText) {
    this->files().writeAtomically(this->url("a.xml"), "first, and longer");
    this->files().writeAtomically(this->url("a.xml"), "second");
    EXPECT_EQ(this->read(this->url("a.xml")), "second");
    EXPECT_EQ(this->files().contentsOfDirectory(this->backend.folder()),
              (typename TestFixture::Names{"a.xml"}));
}

TYPED_TEST_P(FileManagerConformance, aFolderIsNoFile) {
    this->files().createDirectory(this->url("sub"));
    EXPECT_THROW(this->files().createFile(this->url("sub")), SystemError);
    EXPECT_THROW(this->files().openForWriting(this->url("sub")), SystemError);
    EXPECT_THROW(this->files().writeAtomically(this->url("sub"), "x"), SystemError);
    this->write(this->url("a"), "x");
    EXPECT_THROW(this->files().contentsOfDirectory(this->url("a")), SystemError);
}

TYPED_TEST_P(FileManagerConformance, aClosedHandleIsOfNoUseAndClosingAgainIsHarmless) {
    this->write(this->url("a"), "abc");
    const auto handle = this->files().openForWriting(this->url("a"));
    handle->close();
    EXPECT_THROW(handle->write(this->bytesOf("x"), 1), SystemError);
    EXPECT_NO_THROW(handle->close());
    EXPECT_EQ(this->read(this->url("a")), "abc");
}

TYPED_TEST_P(FileManagerConformance, linksAreFollowed) {
    this->files().createDirectory(this->url("real"));
    this->write(this->url("real/a"), "abc");
    this->backend.makeLink(this->url("link"), this->url("real").path());
    this->backend.makeLink(this->url("relative"), "real/a");
    EXPECT_EQ(this->read(this->url("link/a")), "abc");
    EXPECT_EQ(this->read(this->url("relative")), "abc");
    EXPECT_EQ(this->files().resolvingSymlinks(this->url("link/a")), this->url("real/a"));
    EXPECT_EQ(this->files().resolvingSymlinks(this->url("relative")), this->url("real/a"));
    EXPECT_EQ(this->files().resolvingSymlinks(this->url("real/a")), this->url("real/a"));
}

TYPED_TEST_P(FileManagerConformance, aLinkToNothingIsNothing) {
    this->backend.makeLink(this->url("dangling"), this->url("missing").path());
    EXPECT_FALSE(this->files().fileExists(this->url("dangling")));
    EXPECT_EQ(this->files().resolvingSymlinks(this->url("dangling")), this->url("dangling"));
    EXPECT_EQ(this->files().resolvingSymlinks(this->url("missing")), this->url("missing"));
}

TYPED_TEST_P(FileManagerConformance, removingALinkLeavesWhatItPointsTo) {
    this->files().createDirectory(this->url("real"));
    this->write(this->url("real/a"), "abc");
    this->backend.makeLink(this->url("link"), this->url("real").path());
    this->files().removeItem(this->url("link"));
    EXPECT_FALSE(this->files().fileExists(this->url("link")));
    EXPECT_EQ(this->read(this->url("real/a")), "abc");
}

TYPED_TEST_P(FileManagerConformance, namesOfAnyBytesWork) {
    const URL odd = this->url("Täke \"1\" (ö) %20 語");
    this->write(odd, "abc");
    EXPECT_EQ(this->read(odd), "abc");
    EXPECT_EQ(this->files().contentsOfDirectory(this->backend.folder()),
              (typename TestFixture::Names{"Täke \"1\" (ö) %20 語"}));
}

TYPED_TEST_P(FileManagerConformance, theHomeFolderIsAnAbsolutePath) {
    EXPECT_EQ(this->files().homeDirectory().path().substr(0, 1), "/");
    for (const URL& folder : this->files().moviesDirectories())
        EXPECT_EQ(folder.path().substr(0, 1), "/");
}

TYPED_TEST_P(FileManagerConformance, aFileIsFollowedToWhereverItIsRenamed) {
    this->files().createDirectory(this->url("take"));
    this->write(this->url("take/a"), "abc");
    const auto file = this->files().follow(this->url("take/a"));
    const auto folder = this->files().follow(this->url("take"));
    ASSERT_TRUE(file && folder);
    EXPECT_EQ(file->currentURL(), this->url("take/a"));
    this->files().replaceItem(this->url("renamed"), this->url("take"));
    EXPECT_EQ(file->currentURL(), this->url("renamed/a"));
    EXPECT_EQ(folder->currentURL(), this->url("renamed"));
    this->files().replaceItem(this->url("renamed/b"), this->url("renamed/a"));
    EXPECT_EQ(file->currentURL(), this->url("renamed/b"));
}

TYPED_TEST_P(FileManagerConformance, aFileThatWasDeletedOrReplacedLiesNowhere) {
    this->write(this->url("deleted"), "abc");
    this->write(this->url("replaced"), "abc");
    this->write(this->url("other"), "def");
    const auto deleted = this->files().follow(this->url("deleted"));
    const auto replaced = this->files().follow(this->url("replaced"));
    this->files().removeItem(this->url("deleted"));
    this->write(this->url("deleted (deleted)"), "a name that looks like the kernel's mark");
    this->files().replaceItem(this->url("replaced"), this->url("other"));
    EXPECT_EQ(deleted->currentURL(), std::nullopt);
    EXPECT_EQ(replaced->currentURL(), std::nullopt);
    EXPECT_EQ(this->files().follow(this->url("missing")), nullptr);
}

TYPED_TEST_P(FileManagerConformance, oneOwnerAtATimeHasALock) {
    auto first = this->files().lock(this->url("lock"));
    ASSERT_TRUE(first);
    EXPECT_EQ(this->files().sizeOfFile(this->url("lock")), 0u) << "it is made";
    EXPECT_FALSE(this->files().lock(this->url("lock")));
    this->write(this->url("other"), "abc");
    EXPECT_TRUE(this->files().lock(this->url("other"))) << "another file has a lock of its own";
    EXPECT_EQ(this->read(this->url("other")), "abc") << "which changes nothing";
    first = nullptr;
    EXPECT_TRUE(this->files().lock(this->url("lock")));
    EXPECT_THROW(this->files().lock(this->url("missing/lock")), SystemError);
}

TYPED_TEST_P(FileManagerConformance, whatWasSynchronizedReadsBack) {
    this->files().createFile(this->url("a"));
    const auto handle = this->files().openForWriting(this->url("a"));
    handle->write(this->bytesOf("abc"), 3);
    handle->synchronize();
    EXPECT_EQ(this->read(this->url("a")), "abc");
    handle->close();
    EXPECT_THROW(handle->synchronize(), SystemError);
}

REGISTER_TYPED_TEST_SUITE_P(FileManagerConformance, whatIsWrittenReadsBack, aReadAtTheEndGivesNothing,
                            openingForWritingKeepsWhatIsThere, creatingAFileEmptiesTheOneThatIsThere,
                            whatIsMissingThrows, anErrorSaysWhatFailed, foldersAreMadeWithAllOnTheWay,
                            aFolderListsItsOwnNamesSorted, removingAFolderTakesWhatIsInIt,
                            replacingPutsTheNewFileInThePlaceOfTheOld, aFailedReplacementLeavesTheOriginal,
                            anAtomicWriteLeavesOneFileWithTheText, aFolderIsNoFile,
                            aClosedHandleIsOfNoUseAndClosingAgainIsHarmless, linksAreFollowed,
                            aLinkToNothingIsNothing, removingALinkLeavesWhatItPointsTo, namesOfAnyBytesWork,
                            theHomeFolderIsAnAbsolutePath, aFileIsFollowedToWhereverItIsRenamed,
                            aFileThatWasDeletedOrReplacedLiesNowhere, oneOwnerAtATimeHasALock,
                            whatWasSynchronizedReadsBack);

} // namespace vintra

#include "Vintra/platform/linux/desktop/LinuxDesktop.h"

#include "Vintra/platform/linux/runtime/LinuxEventLoop.h"
#include "tests/platform/linux/desktop/PortalDouble.h"
#include "tests/support/PrivateBus.h"
#include "tests/support/TemporaryFolder.h"

#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>
#include <optional>

namespace vintra {
namespace {

constexpr int64_t kDesktopPatience = 30'000'000'000; // nanoseconds

/// A desktop on a bus of its own, and programs of the test's own. No other thread may read the environment.
class LinuxDesktopTest : public ::testing::Test {
protected:
    void SetUp() override {
        pathBefore = std::getenv("PATH");
        std::filesystem::create_directory(programs.path());
    }
    void TearDown() override { ::setenv("PATH", pathBefore.c_str(), 1); }

    /// `xdg-open` is there, notes what it is to open and ends with the code.
    void putOpener(int exitCode) {
        const URL script = folder.write(
            "programs/xdg-open", "#!/bin/sh\necho \"$1\" >\"" + folder.file("new").path() + "\"\nmv \"" +
                                     folder.file("new").path() + "\" \"" + folder.file("opened").path() +
                                     "\"\nexit " + std::to_string(exitCode) + "\n");
        std::filesystem::permissions(script.path(), std::filesystem::perms::owner_all);
        ::setenv("PATH", (programs.path() + ":" + pathBefore).c_str(), 1);
    }
    void hideOpener() { ::setenv("PATH", programs.path().c_str(), 1); }
    bool awaitOpened(const std::string& what) {
        return loop.runUntil([&] { return folder.read("opened") == what + "\n"; }, kDesktopPatience);
    }
    bool awaitFailure() {
        return loop.runUntil([this] { return !failure.empty(); }, kDesktopPatience);
    }
    LinuxDesktop::Toolkit toolkit() {
        return {.copyToPasteboard = [this](const std::string& text) { copied = text; },
                .parentWindow = [] { return "x11:2a"; },
                .chooseFolder = {},
                .failed = [this](const std::string& sentence) { failure = sentence; }};
    }

    TemporaryFolder folder;
    const URL programs = folder.file("programs");
    std::string pathBefore;
    std::string copied;
    std::string failure;
    LinuxEventLoop loop;
    PrivateBus daemon;
    MainThreadBus bus{loop, MessageBus::session, daemon.address()};
    LinuxDesktop desktop{loop, bus, toolkit()};
};

TEST_F(LinuxDesktopTest, textGoesToTheToolkitsClipboard) {
    desktop.copyToPasteboard("a report");
    EXPECT_EQ(copied, "a report");
}

TEST_F(LinuxDesktopTest, aFileIsShownSelected) {
    BusDouble files(loop, daemon.address(), {"org.freedesktop.FileManager1"});
    std::string shown;
    files.answers["ShowItems"] = [&](sd_bus_message* call) {
        const char* address = nullptr;
        const char* startup = nullptr;
        sd_bus_message_read(call, "ass", 1, &address, &startup);
        shown = address;
        sd_bus_reply_method_return(call, "");
    };
    const URL movie = folder.write("a movie.mov", "");
    desktop.showInFileBrowser(movie);
    ASSERT_TRUE(loop.runUntil([&] { return !shown.empty(); }, kDesktopPatience));
    EXPECT_EQ(shown, "file://" + folder.url().path() + "/a%20movie.mov");
}

TEST_F(LinuxDesktopTest, aFolderIsShownFromInside) {
    BusDouble files(loop, daemon.address(), {"org.freedesktop.FileManager1"});
    std::string shown;
    files.answers["ShowFolders"] = [&](sd_bus_message* call) {
        const char* address = nullptr;
        sd_bus_message_read(call, "as", 1, &address);
        shown = address;
        sd_bus_reply_method_return(call, "");
    };
    desktop.showInFileBrowser(folder.url());
    ASSERT_TRUE(loop.runUntil([&] { return !shown.empty(); }, kDesktopPatience));
    EXPECT_EQ(shown, "file://" + folder.url().path());
}

TEST_F(LinuxDesktopTest, withoutAFileManagerOnTheBusTheFolderIsOpened) {
    putOpener(0);
    desktop.showInFileBrowser(folder.write("movie.mov", ""));
    EXPECT_TRUE(awaitOpened(folder.url().path()));
    EXPECT_EQ(failure, "");
}

TEST_F(LinuxDesktopTest, aFileThatHasGoneIsLookedForInItsFolder) {
    putOpener(0);
    desktop.showInFileBrowser(folder.file("gone.mov"));
    EXPECT_TRUE(awaitOpened(folder.url().path()));
}

TEST_F(LinuxDesktopTest, aFolderThatHasGoneIsSaid) {
    desktop.showInFileBrowser(folder.file("gone").appendingPathComponent("movie.mov"));
    EXPECT_EQ(failure, "The folder " + folder.file("gone").path() + " isn't there any more.");
}

TEST_F(LinuxDesktopTest, noFileManagerAtAllIsSaid) {
    hideOpener();
    desktop.showInFileBrowser(folder.url());
    ASSERT_TRUE(awaitFailure());
    EXPECT_EQ(failure, "The file manager couldn't be opened. The folder is " + folder.url().path());
}

TEST_F(LinuxDesktopTest, anAddressIsOpenedByThePortal) {
    PortalDouble portal(loop, daemon.address());
    std::string opened;
    portal.answers["OpenURI"] = [&](sd_bus_message* call) {
        const char* parent = nullptr;
        const char* address = nullptr;
        sd_bus_message_read(call, "ss", &parent, &address);
        opened = std::string(parent) + " " + address;
        portal.answer(call, PortalDouble::read(call, ""), 0, [](sd_bus_message*) {});
    };
    desktop.openAddress("https://form.test/?a=b");
    ASSERT_TRUE(loop.runUntil([&] { return !opened.empty(); }, kDesktopPatience));
    EXPECT_EQ(opened, "x11:2a https://form.test/?a=b");
}

TEST_F(LinuxDesktopTest, withoutAPortalAnAddressIsOpenedByAProgram) {
    putOpener(0);
    desktop.openAddress("https://form.test/?a=b");
    EXPECT_TRUE(awaitOpened("https://form.test/?a=b"));
    EXPECT_EQ(failure, "");
}

TEST_F(LinuxDesktopTest, aBrowserThatCantBeOpenedIsSaidWithTheAddress) {
    putOpener(3);
    desktop.openAddress("https://form.test");
    ASSERT_TRUE(awaitFailure());
    EXPECT_EQ(failure, "The browser couldn't be opened. The address is https://form.test");
}

TEST_F(LinuxDesktopTest, theDesktopsPanelChoosesAFolder) {
    PortalDouble portal(loop, daemon.address());
    std::string title;
    std::string current;
    std::map<std::string, std::string> options;
    portal.answers["OpenFile"] = [&](sd_bus_message* call) {
        const char* parent = nullptr;
        const char* text = nullptr;
        sd_bus_message_read(call, "ss", &parent, &text);
        title = text;
        const auto request = PortalDouble::read(call, "");
        options = request.options;
        sd_bus_message_rewind(call, 1);
        sd_bus_message_skip(call, "ss");
        forEachEntry(call, [&](const std::string& key, sd_bus_message* value) {
            const void* bytes = nullptr;
            size_t size = 0;
            if (key == "current_folder" && sd_bus_message_read_array(value, 'y', &bytes, &size) > 0)
                current.assign(static_cast<const char*>(bytes), size);
        });
        portal.answer(call, request, 0, [](sd_bus_message* signal) {
            sd_bus_message_append(signal, "{sv}", "uris", "as", 1, "file:///media/a%20disk/100%25");
        });
    };
    std::optional<URL> chosen;
    desktop.chooseFolder("Choose a folder", URL::fileURL("/home/me/Videos"),
                         [&](const URL& url) { chosen = url; });
    ASSERT_TRUE(loop.runUntil([&] { return chosen.has_value(); }, kDesktopPatience)) << failure;
    EXPECT_EQ(chosen->path(), "/media/a disk/100%");
    EXPECT_EQ(title, "Choose a folder");
    EXPECT_EQ(options["directory"], "true");
    EXPECT_EQ(current, std::string("/home/me/Videos") + '\0');
}

TEST_F(LinuxDesktopTest, aPanelThatIsCancelledChoosesNothingAndMayBeOpenedAgain) {
    PortalDouble portal(loop, daemon.address());
    int opened = 0;
    uint32_t code = 1;
    portal.answers["OpenFile"] = [&](sd_bus_message* call) {
        ++opened;
        portal.answer(call, PortalDouble::read(call, "ss"), code, [](sd_bus_message* signal) {
            sd_bus_message_append(signal, "{sv}", "uris", "as", 1, "file:///chosen");
        });
    };
    std::optional<URL> chosen;
    const auto choose = [&] {
        desktop.chooseFolder("Choose", URL::fileURL("/"), [&](const URL& url) { chosen = url; });
    };
    choose();
    choose(); // the panel is open
    ASSERT_TRUE(loop.runUntil(
        [&] {
            code = opened > 0 ? 0 : 1;
            choose();
            return chosen.has_value();
        },
        kDesktopPatience));
    EXPECT_EQ(opened, 2);
}

TEST_F(LinuxDesktopTest, whereThePortalHasNoPanelTheToolkitsIsShown) {
    LinuxDesktop::Toolkit withPanel = toolkit();
    withPanel.chooseFolder = [](const std::string&, const URL& startingAt,
                                const std::function<void(const URL&)>& onChosen) {
        onChosen(startingAt.appendingPathComponent("chosen"));
    };
    LinuxDesktop other(loop, bus, withPanel);
    std::optional<URL> chosen;
    other.chooseFolder("Choose", URL::fileURL("/films"), [&](const URL& url) { chosen = url; });
    ASSERT_TRUE(loop.runUntil([&] { return chosen.has_value(); }, kDesktopPatience)) << failure;
    EXPECT_EQ(chosen->path(), "/films/chosen");
    desktop.chooseFolder("Choose", URL::fileURL("/"), [](const URL&) {});
    ASSERT_TRUE(awaitFailure());
    EXPECT_EQ(failure.find("The desktop can't show a panel for folders."), 0u) << failure;
}

TEST_F(LinuxDesktopTest, whatIsStillUnderWayEndsWithIt) {
    PortalDouble portal(loop, daemon.address());
    PortalDouble::Request request;
    portal.answers["OpenFile"] = [&](sd_bus_message* call) {
        request = PortalDouble::read(call, "ss");
        sd_bus_reply_method_return(call, "o", request.path.c_str());
    };
    std::optional<LinuxDesktop> brief(std::in_place, loop, bus, toolkit());
    bool isChosen = false;
    brief->chooseFolder("Choose", URL::fileURL("/"), [&](const URL&) { isChosen = true; });
    ASSERT_TRUE(loop.runUntil([&] { return !request.path.empty(); }, kDesktopPatience));
    brief.reset();
    ASSERT_TRUE(loop.runUntil([&] { return portal.wasCalled("Close"); }, kDesktopPatience));
    EXPECT_FALSE(isChosen);
}

} // namespace
} // namespace vintra

#include "Vintra/platform/linux/updates/LinuxUpdateInstallation.h"

#include "tests/platform/linux/updates/PackageKitFixture.h"
#include "tests/platform/linux/updates/SigningKey.h"

#include <sys/stat.h>

namespace vintra {
namespace {

class LinuxUpdateInstallationTest : public PackageKitFixture {
protected:
    using Outcome = UpdateInstallation::Outcome;

    void SetUp() override { make({.publicKey = key.publicKey()}); }
    void make(UpdateSource source, const std::string& runningProgram = "/usr/bin/vintra",
              const std::string& systemVersion = "12") {
        installation = std::make_unique<LinuxUpdateInstallation>(
            LinuxUpdateInstallation::Machine{.mainThread = loop,
                                             .dispatchQueues = queues,
                                             .fileManager = files,
                                             .operatingSystem = "Debian GNU/Linux",
                                             .systemVersion = systemVersion,
                                             .runningProgram = runningProgram,
                                             .downloadFolder = folder.file("cache/updates")},
            bus, std::move(source));
    }
    std::string textOf(const Outcome& outcome) { return outcome.value_or("well"); }
    std::string ownership() {
        std::optional<Outcome> outcome;
        installation->checkOwnership([&](const Outcome& came) { outcome = came; });
        return textOf(awaited(outcome));
    }
    SUAppcastItem item(const std::string& bytes) {
        return {.versionString = "1",
                .displayVersionString = "1.3",
                .itemDescription = "",
                .minimumSystemVersion = "",
                .fileURL = "https://vintra.test/vintra.deb",
                .contentLength = bytes.size(),
                .edSignature = key.sign(bytes)};
    }
    std::string verdict(const SUAppcastItem& of, const std::string& bytes) {
        const URL file = folder.write("vintra.deb", bytes);
        std::optional<Outcome> outcome;
        installation->verify(file, of, [&](const Outcome& came) { outcome = came; });
        return textOf(awaited(outcome));
    }
    std::string installed() {
        std::optional<Outcome> outcome;
        installation->install(URL::fileURL("/tmp/vintra.deb"),
                              {.progress = [this](int percent) { percents.push_back(percent); },
                               .ended = [&](const Outcome& came) { outcome = came; }});
        return textOf(awaited(outcome));
    }

    const SigningKey key;
    std::unique_ptr<LinuxUpdateInstallation> installation;
    std::vector<int> percents;
};

TEST_F(LinuxUpdateInstallationTest, aPackageOfItsOwnIsUpdated) {
    serve({});
    EXPECT_EQ(ownership(), "well");
    EXPECT_EQ(service->calls(),
              (std::vector<std::string>{"SetHints interactive=true background=false", "Resolve 4 vintra"}));
}

TEST_F(LinuxUpdateInstallationTest, aRepositorysPackageIsLeftToIt) {
    for (const char* id :
         {"vintra;1.2.3-45;amd64;installed:debian-bookworm-main",
          "vintra;1.2.3-45;amd64;manual:debian-bookworm-main", "vintra;1.2.3-45;amd64;ubuntu-noble"}) {
        serve({.installed = {id}});
        EXPECT_EQ(ownership(), "Vintra came with Debian GNU/Linux, which keeps it up to date.") << id;
    }
    for (const char* id : {"vintra;1.2.3-45;amd64;installed:local", "vintra;1.2.3-45;amd64;manual:",
                           "vintra;1.2.3-45;amd64;installed", "vintra;1.2.3-45;amd64;local"}) {
        serve({.installed = {id}});
        EXPECT_EQ(ownership(), "well") << id;
    }
    make({.publicKey = key.publicKey(), .isLeftToDistribution = true});
    service.reset();
    EXPECT_EQ(ownership(), "Vintra came with Debian GNU/Linux, which keeps it up to date.");
}

TEST_F(LinuxUpdateInstallationTest, anotherCopyIsNotUpdated) {
    const std::string sentence =
        "This copy of Vintra wasn't installed from its package, so it is updated the way it was installed.";
    serve({.installed = {}});
    EXPECT_EQ(ownership(), sentence);
    make({.publicKey = key.publicKey()}, "/home/user/vintra/build/bin/vintra");
    EXPECT_EQ(ownership(), sentence);
}

TEST_F(LinuxUpdateInstallationTest, withoutAKeyThereAreNoUpdates) {
    make({.feedURL = "https://vintra.test/feed"});
    EXPECT_EQ(ownership(), "Updates aren't set up in this copy of Vintra.");
}

TEST_F(LinuxUpdateInstallationTest, withoutPackageKitThatIsSaid) {
    EXPECT_EQ(
        ownership(),
        "PackageKit, which installs and removes packages, doesn't answer; install the package “packagekit” and "
        "try again.");
    bus.waitUntil([] { return false; }, 1'000'000);
    serve({.endsAt = "Resolve"});
    EXPECT_EQ(
        ownership(),
        "PackageKit, which installs and removes packages, doesn't answer; install the package “packagekit” and "
        "try again.");
}

TEST_F(LinuxUpdateInstallationTest, theSignedPackageOfThatVersionIsGood) {
    serve({});
    EXPECT_EQ(verdict(item("a package"), "a package"), "well");
    EXPECT_EQ(service->calls().back(), "GetDetailsLocal " + folder.file("vintra.deb").path());
}

TEST_F(LinuxUpdateInstallationTest, whatIsNotSignedNeverReachesPackageKit) {
    serve({});
    const std::string sentence = "The file isn't signed by Vintra's makers, so it wasn't used.";
    EXPECT_EQ(verdict(item("a package"), "b package"), sentence) << "a right signature over another file";
    const SigningKey others;
    SUAppcastItem foreign = item("a package");
    foreign.edSignature = others.sign("a package");
    EXPECT_EQ(verdict(foreign, "a package"), sentence) << "a signature of another key";
    foreign.edSignature = "nonsense";
    EXPECT_EQ(verdict(foreign, "a package"), sentence);
    EXPECT_EQ(verdict(item("a package"), "a pack"), "The file isn't as long as the feed says; try again.");
    EXPECT_EQ(verdict(item("a package"), "a package and more"),
              "The file isn't as long as the feed says; try again.");
    make({.feedURL = "https://vintra.test/feed"});
    EXPECT_EQ(verdict(item("a package"), "a package"), sentence) << "no key";
    EXPECT_TRUE(service->calls().empty());
}

/// An earlier version bears a good signature too.
TEST_F(LinuxUpdateInstallationTest, anotherVersionThanTheFeedNamesIsRefused) {
    for (const char* id : {"vintra;1.2.0-1;amd64;local", "vintra;1.3-10;amd64;local",
                           "other;1.3-1;amd64;local", "vintra;1.3-1", "", "vintra;1.3;amd64;local"}) {
        serve({.local = {id}});
        EXPECT_EQ(verdict(item("a package"), "a package"),
                  "The file isn't the version that the feed names, so it wasn't used; try again later.")
            << id;
    }
    serve({.local = {}});
    EXPECT_NE(verdict(item("a package"), "a package"), "well");
    serve({.errors = {{"GetDetailsLocal", {38, "not a valid package\nmore"}}}});
    EXPECT_EQ(verdict(item("a package"), "a package"), "The package service refused (not a valid package).");
}

TEST_F(LinuxUpdateInstallationTest, aFileThatIsGoneIsTold) {
    std::optional<Outcome> outcome;
    installation->verify(folder.file("missing.deb"), item("x"), [&](const Outcome& came) { outcome = came; });
    EXPECT_NE(textOf(awaited(outcome)), "well");
}

TEST_F(LinuxUpdateInstallationTest, theFileIsInstalledWithItsPath) {
    serve({.installedAfterwards = std::vector<std::string>{"vintra;1.3-1;amd64;manual:local"}});
    ASSERT_EQ(verdict(item("a package"), "a package"), "well");
    EXPECT_EQ(installed(), "well");
    const auto calls = service->calls();
    EXPECT_EQ(std::vector<std::string>(calls.begin() + 2, calls.end()),
              (std::vector<std::string>{"SetHints interactive=true background=false",
                                        "InstallFiles 0 /tmp/vintra.deb",
                                        "SetHints interactive=true background=false", "Resolve 4 vintra"}));
    EXPECT_EQ(percents, (std::vector<int>{30, 80}));
}

/// As PackageKit does where it can't open a terminal for dpkg.
TEST_F(LinuxUpdateInstallationTest, whatWasLeftUndoneIsNotTakenForDone) {
    serve({.installedAfterwards = std::vector<std::string>{"vintra;1.2.3-45;amd64;manual:local"}});
    ASSERT_EQ(verdict(item("a package"), "a package"), "well");
    EXPECT_EQ(installed(), "The package service left the update undone; try again later.");
}

TEST_F(LinuxUpdateInstallationTest, packagesMayBeToldTogether) {
    serve({.installed = {"vintra;1.2.3-45;amd64;manual:debian-bookworm-main"}, .tellsSeveralAtOnce = true});
    EXPECT_EQ(ownership(), "Vintra came with Debian GNU/Linux, which keeps it up to date.");
    serve({.tellsSeveralAtOnce = true});
    EXPECT_EQ(ownership(), "well");
}

TEST_F(LinuxUpdateInstallationTest, aRefusalIsToldInASentence) {
    const std::string noPassword = "The password wasn't given, so nothing was changed.";
    serve({.errors = {{"InstallFiles", {48, "Failed to obtain authentication."}}}});
    EXPECT_EQ(installed(), noPassword);
    serve({.refusedCall = "InstallFiles"});
    EXPECT_EQ(installed(), noPassword);
    serve({.exits = {{"InstallFiles", 3}}});
    EXPECT_EQ(installed(), noPassword);
    serve({.errors = {{"InstallFiles", {26, "locked"}}}});
    EXPECT_EQ(installed(), "Another program is installing packages; try again when it has ended.");
    serve({.errors = {{"InstallFiles", {46, "full"}}}});
    EXPECT_EQ(installed(), "The disk is full; make room and try again.");
    serve({.errors = {{"InstallFiles", {13, "libfoo is missing.\nA list follows"}}}});
    EXPECT_EQ(installed(), "The package service refused (libfoo is missing).");
    serve({.exits = {{"InstallFiles", 6}}});
    EXPECT_EQ(installed(), "The package service refused (it gave no reason).");
    serve({.endsAt = "InstallFiles"});
    EXPECT_TRUE(installed().starts_with("PackageKit, which installs and removes packages, doesn't answer"));
}

TEST_F(LinuxUpdateInstallationTest, whoeverAskedMayGo) {
    serve({});
    installation->checkOwnership([](const Outcome&) { ADD_FAILURE() << "nobody listens any more"; });
    installation->verify(folder.write("vintra.deb", "x"), item("x"),
                         [](const Outcome&) { ADD_FAILURE() << "nobody listens any more"; });
    installation.reset();
    loop->runUntil([] { return false; }, 50'000'000);
}

TEST_F(LinuxUpdateInstallationTest, theDownloadFolderIsTheUsersAlone) {
    const URL made = installation->downloadFolder();
    EXPECT_EQ(made, folder.file("cache/updates"));
    struct stat status {};
    ASSERT_EQ(::stat(made.path().c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0700u);
    EXPECT_EQ(installation->downloadFolder(), made) << "it may be there already";
}

TEST_F(LinuxUpdateInstallationTest, systemsAreCompared) {
    make({}, "", "12.5");
    for (const char* earlier : {"", "9", "12", "12.0", "12.5", "12.4.9", "11.99"})
        EXPECT_TRUE(installation->satisfies(earlier)) << earlier;
    for (const char* later : {"13", "12.6", "12.5.1", "100"})
        EXPECT_FALSE(installation->satisfies(later)) << later;
    make({}, "", "");
    EXPECT_TRUE(installation->satisfies("99")) << "a system without versions";
}

} // namespace
} // namespace vintra

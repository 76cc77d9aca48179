#include "Vintra/platform/linux/desktop/ProgramBus.h"

#include "Vintra/platform/linux/runtime/LinuxEventLoop.h"
#include "Vintra/platform/linux/runtime/LinuxHostClock.h"
#include "tests/support/MuteBus.h"
#include "tests/support/PrivateBus.h"

#include <atomic>
#include <cstdlib>
#include <gtest/gtest.h>
#include <optional>
#include <thread>
#include <vector>

namespace vintra {
namespace {

using Standing = ProgramBus::Standing;

constexpr const char* kTestName = "org.test.Vintra";

/// A process's connection and what it makes of it.
struct Process {
    explicit Process(const std::string& address)
        : connection(*loop, MessageBus::session, address) {}

    const std::shared_ptr<LinuxEventLoop> loop = std::make_shared<LinuxEventLoop>();
    MainThreadBus connection;
    ProgramBus bus{connection, kTestName};
};

/// A program that has the name, on a thread of its own.
class RunningProgram {
public:
    explicit RunningProgram(const std::string& address) {
        thread = std::thread([this, address] {
            Process process(address);
            EXPECT_EQ(process.bus.claim(), Standing::first);
            process.bus.serve(
                {.activate =
                     [this](const ProgramBus::Activation& activation) { activations.push_back(activation); },
                 .carryOut =
                     [this, &process](ProgramCommand command, std::function<void(CommandOutcome)> answer) {
                         carryOut(process, command, answer);
                     }});
            loop = process.loop;
            isServing = true;
            isServing.notify_all();
            process.loop->run();
        });
        isServing.wait(false);
    }
    ~RunningProgram() { end(); }

    void end() {
        if (!thread.joinable()) return;
        loop->stop();
        thread.join();
    }

    std::vector<ProgramBus::Activation> activations; ///< to be read after `end`
    std::vector<ProgramCommand> commands;            ///< likewise

private:
    void carryOut(Process& process, ProgramCommand command,
                  const std::function<void(CommandOutcome)>& answer) {
        commands.push_back(command);
        if (command == ProgramCommand::quit) {
            answer({true, "Ended."});
            process.loop->stop();
        } else if (command == ProgramCommand::stop) {
            answer({false, "Nothing runs."});
        } else if (command == ProgramCommand::marker) {
            process.loop->stop(); // as in a crash
        } else {
            // Later, as after a start.
            process.loop->post([answer] { answer({true, "Recording."}); });
        }
    }

    std::atomic<bool> isServing = false;
    std::thread thread;
    std::shared_ptr<LinuxEventLoop> loop; ///< the thread's
};

class ProgramBusTest : public ::testing::Test {
protected:
    CommandOutcome give(ProgramCommand command) {
        return Process(daemon.address()).bus.command(command, isRunning);
    }

    PrivateBus daemon;
    bool isRunning = false;
};

TEST_F(ProgramBusTest, oneProcessHasTheNameAtATime) {
    std::optional<Process> first(std::in_place, daemon.address());
    EXPECT_EQ(first->bus.claim(), Standing::first);
    Process second(daemon.address());
    EXPECT_EQ(second.bus.claim(), Standing::second);
    first.reset();
    Process third(daemon.address());
    EXPECT_EQ(third.bus.claim(), Standing::first);
}

TEST_F(ProgramBusTest, aSecondStartRaisesTheFirstWithItsToken) {
    RunningProgram program(daemon.address());
    Process second(daemon.address());
    ASSERT_EQ(second.bus.claim(), Standing::second);
    EXPECT_TRUE(second.bus.raiseFirst({.token = "wayland-token", .startupID = "x11-id"}).isDone);
    program.end();
    ASSERT_EQ(program.activations.size(), 1u);
    EXPECT_EQ(program.activations[0].token, "wayland-token");
    EXPECT_EQ(program.activations[0].startupID, "x11-id");
}

TEST_F(ProgramBusTest, commandsAreCarriedOutAndAnswered) {
    RunningProgram program(daemon.address());
    CommandOutcome outcome = give(ProgramCommand::start);
    EXPECT_TRUE(outcome.isDone);
    EXPECT_EQ(outcome.sentence, "Recording.");
    EXPECT_TRUE(isRunning);
    outcome = give(ProgramCommand::stop);
    EXPECT_FALSE(outcome.isDone);
    EXPECT_EQ(outcome.sentence, "Nothing runs.");
    EXPECT_TRUE(isRunning);
    program.end();
    EXPECT_EQ(program.commands, (std::vector{ProgramCommand::start, ProgramCommand::stop}));
}

TEST_F(ProgramBusTest, quitWaitsForTheEndOfTheProgram) {
    RunningProgram program(daemon.address());
    EXPECT_TRUE(give(ProgramCommand::quit).isDone);
    // So another one can begin at once.
    EXPECT_EQ(Process(daemon.address()).bus.claim(), Standing::first);
}

TEST_F(ProgramBusTest, aProgramThatEndsInTheMiddleIsTold) {
    RunningProgram program(daemon.address());
    const CommandOutcome outcome = give(ProgramCommand::marker);
    EXPECT_FALSE(outcome.isDone);
    EXPECT_EQ(outcome.sentence, "Vintra ended before it had answered.");
}

TEST_F(ProgramBusTest, withoutAProgramThereIsNobodyToTell) {
    const CommandOutcome outcome = give(ProgramCommand::stop);
    EXPECT_FALSE(outcome.isDone);
    EXPECT_FALSE(isRunning);
    EXPECT_EQ(outcome.sentence, "Vintra isn't running.");
}

TEST_F(ProgramBusTest, aCommandOfAnotherVersionIsRefused) {
    RunningProgram program(daemon.address());
    Process other(daemon.address());
    BusMessage message =
        other.connection.makeCall({kTestName, "/org/test/Vintra", "org.test.Vintra.Control"}, "Run");
    sd_bus_message_append(message.get(), "s", "dance");
    std::string sentence;
    const BusSlot slot =
        other.connection.call(std::move(message), 30'000'000'000, [&](sd_bus_message* reply) {
            int isDone = 1;
            const char* text = nullptr;
            ASSERT_GT(sd_bus_message_read(reply, "bs", &isDone, &text), 0) << errorTextOf(reply);
            EXPECT_EQ(isDone, 0);
            sentence = text;
        });
    EXPECT_TRUE(other.connection.waitUntil([&] { return !sentence.empty(); }, 30'000'000'000));
    EXPECT_NE(sentence.find("dance"), std::string::npos);
}

TEST_F(ProgramBusTest, theMenuEntrysActionsAreCommands) {
    RunningProgram program(daemon.address());
    Process desktop(daemon.address());
    BusMessage message = desktop.connection.makeCall(
        {kTestName, "/org/test/Vintra", "org.freedesktop.Application"}, "ActivateAction");
    sd_bus_message_append(message.get(), "sava{sv}", "toggle", 0, 0);
    bool hasAnswered = false;
    const BusSlot slot =
        desktop.connection.call(std::move(message), 30'000'000'000, [&](sd_bus_message* reply) {
            EXPECT_TRUE(isAnswer(reply)) << errorTextOf(reply);
            hasAnswered = true;
        });
    EXPECT_TRUE(desktop.connection.waitUntil([&] { return hasAnswered; }, 30'000'000'000));
    program.end();
    EXPECT_EQ(program.commands, std::vector{ProgramCommand::toggle});
}

TEST(ProgramBusWithoutBusTest, aBusThatIsntThereIsToldAtOnce) {
    Process process("unix:path=/nonexistent/bus");
    EXPECT_EQ(process.bus.claim(), Standing::alone);
    EXPECT_EQ(process.bus.problem().find("There is no session bus"), 0u) << process.bus.problem();
    process.bus.serve({});
    bool isRunning = true;
    EXPECT_FALSE(Process("unix:path=/nonexistent/bus").bus.command(ProgramCommand::stop, isRunning).isDone);
    EXPECT_FALSE(isRunning);
}

TEST(ProgramBusWithoutBusTest, aBusThatHangsHoldsTheStartUpForASecond) {
    const MuteBus mute;
    ASSERT_TRUE(mute.isListening());
    Process process(mute.address());
    const int64_t begin = monotonicNanoseconds();
    EXPECT_EQ(process.bus.claim(), Standing::alone);
    const int64_t taken = monotonicNanoseconds() - begin;
    EXPECT_GE(taken, 900'000'000);
    EXPECT_LT(taken, 20'000'000'000);
    EXPECT_EQ(process.bus.problem().find("The session bus doesn't answer"), 0u) << process.bus.problem();
}

TEST(ProgramBusActivationTest, theActivationComesWithTheEnvironment) {
    ::setenv("XDG_ACTIVATION_TOKEN", "a token", 1);
    ::setenv("DESKTOP_STARTUP_ID", "an id", 1);
    const auto activation = ProgramBus::activationOfStart();
    EXPECT_EQ(activation.token, "a token");
    EXPECT_EQ(activation.startupID, "an id");
    ::unsetenv("XDG_ACTIVATION_TOKEN");
    ::unsetenv("DESKTOP_STARTUP_ID");
    EXPECT_EQ(ProgramBus::activationOfStart().token, "");
}

} // namespace
} // namespace vintra

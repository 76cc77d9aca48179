#include "tests/support/ChildProcess.h"

#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <spawn.h>
#include <string_view>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace vintra {

ChildProcess::ChildProcess(std::vector<std::string> command, std::vector<std::string> environment) {
    std::vector<char*> arguments;
    for (std::string& part : command)
        arguments.push_back(part.data());
    arguments.push_back(nullptr);
    std::vector<char*> variables;
    for (std::string& variable : environment)
        variables.push_back(variable.data());
    for (char** variable = environ; *variable != nullptr; ++variable) {
        const std::string_view name(*variable, std::strcspn(*variable, "=") + 1);
        bool isReplaced = false;
        for (const std::string& added : environment)
            isReplaced |= added.starts_with(name);
        if (!isReplaced) variables.push_back(*variable);
    }
    variables.push_back(nullptr);

    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0) return;
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
    const int error =
        posix_spawnp(&process, arguments[0], &actions, nullptr, arguments.data(), variables.data());
    posix_spawn_file_actions_destroy(&actions);
    ::close(ends[1]);
    output = ends[0];
    if (error != 0) process = -1;
}

ChildProcess::~ChildProcess() {
    stop();
    if (output >= 0) ::close(output);
}

std::string ChildProcess::readLine() {
    std::string line;
    char letter = 0;
    while (::read(output, &letter, 1) == 1 && letter != '\n')
        line += letter;
    return line;
}

bool ChildProcess::awaitLineWith(const std::string& text) {
    for (std::string line = readLine(); !line.empty(); line = readLine()) {
        if (line.find(text) != std::string::npos) return true;
    }
    return false;
}

std::string ChildProcess::restOfOutput() {
    std::string text;
    char bytes[4096];
    for (ssize_t count; (count = ::read(output, bytes, sizeof bytes)) > 0;)
        text.append(bytes, static_cast<size_t>(count));
    return text;
}

void ChildProcess::signal(int number) {
    if (process > 0) ::kill(process, number);
}

int ChildProcess::wait() {
    int status = 0;
    if (process <= 0 || ::waitpid(process, &status, 0) != process) return -1;
    process = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

void ChildProcess::stop() {
    end(SIGTERM);
}

void ChildProcess::kill() {
    end(SIGKILL);
}

void ChildProcess::end(int number) {
    signal(number);
    wait();
}

} // namespace vintra

#include "tests/platform/linux/x11/XvfbServer.h"

#include <csignal>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace vintra {
namespace {

/// -1 if the program isn't there. Its output is thrown away.
pid_t spawn(std::vector<std::string> command) {
    std::vector<char*> arguments;
    for (std::string& part : command)
        arguments.push_back(part.data());
    arguments.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", 1 /* O_WRONLY */, 0);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", 1 /* O_WRONLY */, 0);
    pid_t process = -1;
    const int error = posix_spawnp(&process, arguments[0], &actions, nullptr, arguments.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    return error == 0 ? process : -1;
}

} // namespace

XvfbServer::XvfbServer(const std::string& screen, std::vector<std::string> options) {
    int ends[2];
    if (::pipe(ends) != 0) return;
    std::vector<std::string> command{"Xvfb",     "-displayfd", std::to_string(ends[1]),
                                     "-screen",  "0",          screen,
                                     "-noreset", "-nolisten",  "tcp"};
    command.insert(command.end(), options.begin(), options.end());
    process = spawn(command);
    ::close(ends[1]);
    std::string number;
    char digit = 0;
    while (process > 0 && ::read(ends[0], &digit, 1) == 1 && digit != '\n')
        number += digit;
    ::close(ends[0]);
    if (!number.empty()) name = ":" + number;
}

XvfbServer::~XvfbServer() {
    if (process <= 0) return;
    resume();
    ::kill(process, SIGTERM);
    ::waitpid(process, nullptr, 0);
}

void XvfbServer::kill() {
    if (process <= 0) return;
    ::kill(process, SIGKILL);
    ::waitpid(process, nullptr, 0);
    process = -1;
}

void XvfbServer::suspend() {
    if (process > 0) ::kill(process, SIGSTOP);
}

void XvfbServer::resume() {
    if (process > 0) ::kill(process, SIGCONT);
}

bool XvfbServer::xrandr(const std::vector<std::string>& arguments) const {
    std::vector<std::string> command{"xrandr", "-display", name};
    command.insert(command.end(), arguments.begin(), arguments.end());
    const pid_t program = spawn(command);
    int status = 0;
    return program > 0 && ::waitpid(program, &status, 0) == program && WIFEXITED(status) &&
           WEXITSTATUS(status) == 0;
}

} // namespace vintra

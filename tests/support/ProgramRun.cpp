#include "tests/support/ProgramRun.h"

#include "tests/support/TemporaryFolder.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace vintra {

ProgramRun runProgram(const std::vector<std::string>& command) {
    const TemporaryFolder folder;
    std::vector<char*> arguments;
    for (const std::string& argument : command)
        arguments.push_back(const_cast<char*>(argument.c_str()));
    arguments.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    const int create = O_WRONLY | O_CREAT | O_TRUNC;
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, folder.file("output").path().c_str(), create,
                                     0600);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, folder.file("errors").path().c_str(), create,
                                     0600);
    pid_t process = 0;
    ProgramRun run;
    const int started = posix_spawnp(&process, arguments[0], &actions, nullptr, arguments.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (started != 0) return run;
    int status = 0;
    if (waitpid(process, &status, 0) == process)
        run.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    run.output = folder.read("output");
    run.errors = folder.read("errors");
    return run;
}

} // namespace vintra

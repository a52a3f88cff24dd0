#include "tests/support/Process.h"

#include "tests/support/TempDir.h"

#include <cstdlib>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

[[noreturn]] void Exec(const std::vector<std::string>& command, const std::vector<std::string>& environment) {
    std::vector<char*> arguments;
    arguments.reserve(command.size() + 1);
    for (const std::string& argument : command) {
        arguments.push_back(const_cast<char*>(argument.c_str()));
    }
    arguments.push_back(nullptr);
    // A leak must not pass for a run that failed.
    putenv(const_cast<char*>("ASAN_OPTIONS=exitcode=99"));
    for (const std::string& setting : environment) {
        putenv(const_cast<char*>(setting.c_str()));
    }
    alarm(60);
    execv(arguments[0], arguments.data());
    _exit(127);
}

} // namespace

Outcome RunProgram(const std::vector<std::string>& command, const std::vector<std::string>& environment) {
    const TempDir scratch;
    const pid_t child = fork();
    if (child == 0) {
        dup2(creat((scratch / "output").c_str(), 0600), STDOUT_FILENO);
        dup2(creat((scratch / "errors").c_str(), 0600), STDERR_FILENO);
        Exec(command, environment);
    }
    int status = 0;
    waitpid(child, &status, 0);
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, WIFSIGNALED(status) ? WTERMSIG(status) : 0,
            ReadFile(scratch / "output"), ReadFile(scratch / "errors")};
}

Outcome RunTool(std::vector<std::string> arguments, const std::vector<std::string>& environment) {
    arguments.insert(arguments.begin(), TOOL);
    return RunProgram(arguments, environment);
}

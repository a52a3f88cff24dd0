#include "tests/support/Process.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

const unsigned timeLimit = TIME_LIMIT;

namespace {

/// What started the tests may have ignored or held signals, or set a umask that nobody expects.
void SetUsualProcess() {
    for (int number = 1; number <= SIGRTMAX; ++number) {
        std::signal(number, SIG_DFL);
    }
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
    umask(022);
}

/// Ends the process when its time is up, whatever signals it holds.
void LimitTime(pid_t process) {
    const int ending = static_cast<int>(syscall(SYS_pidfd_open, process, 0));
    pollfd end = {ending, POLLIN, 0};
    if (ending >= 0 && poll(&end, 1, static_cast<int>(timeLimit) * 1000) == 0) {
        kill(process, SIGKILL);
        ADD_FAILURE() << "the limit of " << timeLimit << " seconds struck";
    }
    close(ending);
}

} // namespace

Child::Child(const std::function<int()>& program) : m_process((std::fflush(stdout), fork())) {
    if (m_process < 0) {
        throw std::runtime_error("no process");
    }
    if (m_process == 0) {
        SetUsualProcess();
        dup2(creat((m_scratch / "output").c_str(), 0600), STDOUT_FILENO);
        dup2(STDOUT_FILENO, STDERR_FILENO);
        // An exception must not get into the test that started this.
        std::exit([&]() noexcept { return program(); }());
    }
}

Outcome Child::Wait() {
    LimitTime(m_process);
    int status = 0;
    if (waitpid(m_process, &status, 0) != m_process) {
        throw std::runtime_error("lost the process");
    }
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, WIFSIGNALED(status) ? WTERMSIG(status) : 0,
            ReadFile(m_scratch / "output")};
}

std::vector<char*> Pointers(std::vector<std::string>& words) {
    std::vector<char*> pointers(words.size() + 1);
    for (std::size_t i = 0; i < words.size(); ++i) {
        pointers[i] = words[i].data();
    }
    return pointers;
}

std::string NodeName() {
    const std::string name = ReadFile("/proc/sys/kernel/hostname");
    return name.substr(0, name.find_first_of(".\n"));
}

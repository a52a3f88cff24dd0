#include "PlugSetter/Process.h"

#include <csignal>
#include <initializer_list>
#include <iterator>

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

void prepareProcess() {
    std::signal(SIGXFSZ, SIG_IGN);
    std::signal(SIGPIPE, SIG_IGN);
    pollfd standard[] = {{STDIN_FILENO, 0, 0}, {STDOUT_FILENO, 0, 0}, {STDERR_FILENO, 0, 0}};
    poll(standard, std::size(standard), 0);
    for (const pollfd& descriptor : standard) {
        if ((descriptor.revents & POLLNVAL) != 0) {
            // open takes the lowest free number, which is this one: those below are open by now.
            open("/dev/null", O_RDWR);
        }
    }
}

void holdSignals() {
    sigset_t ending;
    sigfillset(&ending);
    for (const int fault : {SIGABRT, SIGBUS, SIGFPE, SIGILL, SIGSEGV, SIGSYS, SIGTRAP}) {
        sigdelset(&ending, fault);
    }
    for (const int stop : {SIGTSTP, SIGTTIN, SIGTTOU}) {
        sigdelset(&ending, stop);
    }
    sigprocmask(SIG_BLOCK, &ending, nullptr);
}

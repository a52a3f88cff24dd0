#include "PlugSetter/Process.h"

#include <csignal>
#include <initializer_list>

#include <fcntl.h>
#include <unistd.h>

void prepareProcess() {
    std::signal(SIGXFSZ, SIG_IGN);
    for (int descriptor = STDIN_FILENO; descriptor <= STDERR_FILENO; ++descriptor) {
        if (fcntl(descriptor, F_GETFD) < 0) {
            // open takes the lowest free number, which is this one: those below are open by now.
            open("/dev/null", O_RDWR);
        }
    }
}

void holdSignals() {
    sigset_t ending;
    sigemptyset(&ending);
    for (const int signal : {SIGTERM, SIGINT, SIGHUP, SIGQUIT}) {
        sigaddset(&ending, signal);
    }
    sigprocmask(SIG_BLOCK, &ending, nullptr);
}

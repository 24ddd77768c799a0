#include "app/StopSignals.h"

#include "app/TarnwickBasicMain.h"

#include <system_error>
#include <thread>
#include <utility>

#include <signal.h>
#include <unistd.h>

void StopSignals::cancelOnSignal(CancelToken &token, std::function<void()> then) {
    sigset_t signals;
    sigemptyset(&signals);
    for (const int number : {SIGINT, SIGTERM, SIGHUP})
        sigaddset(&signals, number);
    // Blocked in every thread, so that none is interrupted in a system call; one thread waits for them.
    sigset_t before;
    ::pthread_sigmask(SIG_BLOCK, &signals, &before);
    ::signal(SIGPIPE, SIG_IGN);
    const auto wait = [signals, &token, then = std::move(then)] {
        int received = 0;
        sigwait(&signals, &received);
        token.cancel();
        if (then)
            then();
        sigwait(&signals, &received);
        ::_exit(TarnwickBasicMain::Stopped);
    };
    try {
        std::thread(wait).detach();
    } catch (const std::system_error &) {
        ::pthread_sigmask(SIG_SETMASK, &before, nullptr); // nobody would answer them
    }
}

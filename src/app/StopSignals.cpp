#include "app/StopSignals.h"

#include "app/TarnwickBasicMain.h"

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
    ::pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    ::signal(SIGPIPE, SIG_IGN);
    std::thread([signals, &token, then = std::move(then)] {
        int received = 0;
        sigwait(&signals, &received);
        token.cancel();
        if (then)
            then();
        sigwait(&signals, &received);
        ::_exit(TarnwickBasicMain::Stopped);
    }).detach();
}

#include "stopSignals.h"

#include <pthread.h>
#include <signal.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>

#include "kestPingAgent.h"

namespace {

std::mutex stopMutex;
std::condition_variable stopCondition;
std::atomic<bool> stopRequested(false);

sigset_t stopSignals;

// The waiting thread: the first signal asks the run to stop, the second ends the process.
void* waitForStopSignals(void*) {
    int sig = 0;
    if (sigwait(&stopSignals, &sig) != 0) {
        return nullptr;
    }
    request_stop();
    if (sigwait(&stopSignals, &sig) != 0) {
        return nullptr;
    }
    // Killed by the signal itself, so that a shell or a parent sees which one it was.
    struct sigaction defaultAction = {};
    defaultAction.sa_handler = SIG_DFL;
    sigemptyset(&defaultAction.sa_mask);
    sigaction(sig, &defaultAction, nullptr);
    sigset_t only;
    sigemptyset(&only);
    sigaddset(&only, sig);
    pthread_sigmask(SIG_UNBLOCK, &only, nullptr);
    pthread_kill(pthread_self(), sig);
    _exit(128 + sig);
}

}  // namespace

void request_stop() {
    {
        std::lock_guard<std::mutex> lock(stopMutex);
        stopRequested.store(true);
    }
    KESTPING_INTERRUPTED = true;
    stopCondition.notify_all();
}

void catch_stop_signals() {
    sigemptyset(&stopSignals);
    bool any = false;
    for (int sig : {SIGINT, SIGTERM}) {
        struct sigaction current;
        if (sigaction(sig, nullptr, &current) == 0 && current.sa_handler == SIG_IGN) {
            continue;
        }
        sigaddset(&stopSignals, sig);
        any = true;
    }
    if (!any) {
        return;
    }
    sigset_t previous;
    pthread_sigmask(SIG_BLOCK, &stopSignals, &previous);
    pthread_t waiter;
    if (pthread_create(&waiter, nullptr, waitForStopSignals, nullptr) != 0) {
        // Without the thread the signals keep their default action.
        pthread_sigmask(SIG_SETMASK, &previous, nullptr);
        return;
    }
    pthread_detach(waiter);
}

void sleep_unless_interrupted(const DDS_Duration_t& duration) {
    if (!stopRequested.load() && duration.sec >= 0 && duration != DDS_DURATION_INFINITE &&
        duration != DDS_DURATION_ZERO) {
        auto length =
            std::chrono::seconds(duration.sec) + std::chrono::nanoseconds(duration.nanosec);
        std::unique_lock<std::mutex> lock(stopMutex);
        stopCondition.wait_for(lock, length, [] { return stopRequested.load(); });
    }
    if (stopRequested.load()) {
        KESTPING_INTERRUPTED = true;
    }
}

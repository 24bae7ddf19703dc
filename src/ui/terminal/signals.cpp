#include "ui/terminal/signals.h"

#include <pthread.h>
#include <csignal>

namespace kovin {

namespace {

sigset_t watched()
{
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, SIGINT);
    sigaddset(&set, SIGTERM);
    sigaddset(&set, SIGUSR2);  // our own: ends the thread
    return set;
}

}  // namespace

SignalWatch::SignalWatch(Monitor& monitor)
{
    const sigset_t set = watched();
    pthread_sigmask(SIG_BLOCK, &set, nullptr);
    thread_ = std::thread([this, &monitor, set] {
        for (int number = 0; sigwait(&set, &number) == 0 && !done_;) {
            if (number == SIGUSR2) continue;
            received_ = number;
            monitor.requestStop();
        }
    });
}

SignalWatch::~SignalWatch()
{
    done_ = true;
    pthread_kill(thread_.native_handle(), SIGUSR2);
    thread_.join();
}

}  // namespace kovin

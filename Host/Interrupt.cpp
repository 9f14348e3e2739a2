#include "Host/Interrupt.hpp"

#include <csignal>
#include <initializer_list>

namespace host {

namespace {

volatile std::sig_atomic_t interrupted = 0;

extern "C" void onSignal(int) {
    interrupted = 1;
}

} // namespace

void Interrupt::watch() {
    struct sigaction action = {};
    action.sa_handler = onSignal;
    action.sa_flags = static_cast<int>(SA_RESTART | SA_RESETHAND);
    sigemptyset(&action.sa_mask);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP})
        sigaction(signal, &action, nullptr);
}

bool Interrupt::requested() {
    return interrupted != 0;
}

} // namespace host

#include "Host/CommandLine.hpp"
#include "Host/Interrupt.hpp"

#include <unistd.h>

#include <csignal>
#include <cstdio>

int main(int argumentCount, char** arguments) {
    std::signal(SIGPIPE, SIG_IGN); // a reader that went away shows as a failed write
    host::Interrupt::watch();
    host::ExitStatus status = host::runCommandLine(argumentCount, arguments);
    if (status == host::ExitStatus::incomplete && host::Interrupt::requested())
        status = host::ExitStatus::interrupted;
    std::fflush(nullptr);
    _exit(static_cast<int>(status)); // threads of the pool may be at work still: nothing of theirs is taken down
}

#include "Host/Console.hpp"

#include "Host/TextWidth.hpp"
#include "Platform/Dispatch/Mutex.hpp"

#include <sys/ioctl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <utility>

namespace host {

namespace {

platform::Mutex& consoleMutex() {
    static platform::Mutex& mutex = *new platform::Mutex; // threads may print to the very end
    return mutex;
}

std::string shownStatus; // under the mutex

bool isTerminal() {
    static const bool is = [] {
        const char* kind = std::getenv("TERM");
        return isatty(STDERR_FILENO) == 1 && kind && std::string_view(kind) != "dumb";
    }();
    return is;
}

bool hasColor() {
    static const bool has = [] {
        const char* refused = std::getenv("NO_COLOR");
        return isTerminal() && !(refused && *refused);
    }();
    return has;
}

std::size_t columns() {
    winsize size = {};
    return ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : 80;
}

void writeError(const std::string& text) { // one write: lines of several threads stay whole
    std::fwrite(text.data(), 1, text.size(), stderr);
}

/// Under the mutex.
void clearStatus() {
    if (!std::exchange(shownStatus, {}).empty())
        writeError("\r\x1b[K");
}

} // namespace

bool print(std::string_view text) {
    const platform::MutexLock lock(consoleMutex());
    clearStatus();
    const bool whole = std::fwrite(text.data(), 1, text.size(), stdout) == text.size();
    return std::fflush(stdout) == 0 && whole;
}

void complain(std::string_view line) {
    const platform::MutexLock lock(consoleMutex());
    clearStatus();
    const std::string name = hasColor() ? "\x1b[1mvelmorant:\x1b[0m " : "velmorant: ";
    writeError(name + std::string(line) + "\n");
}

void showStatus(std::string_view line) {
    if (!isTerminal())
        return;
    const platform::MutexLock lock(consoleMutex());
    const std::string fitting(fitted(line, columns() - 1));
    if (fitting == shownStatus)
        return;
    clearStatus();
    writeError(fitting);
    shownStatus = fitting;
}

} // namespace host

#include "Host/Console.hpp"

#include <cstdio>
#include <string>

namespace host {

bool print(std::string_view text) {
    const bool whole = std::fwrite(text.data(), 1, text.size(), stdout) == text.size();
    return std::fflush(stdout) == 0 && whole;
}

void complain(std::string_view line) {
    const std::string text = "velmorant: " + std::string(line) + "\n"; // one write: lines of several threads stay whole
    std::fwrite(text.data(), 1, text.size(), stderr);
}

} // namespace host

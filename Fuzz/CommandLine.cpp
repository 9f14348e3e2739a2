#include "Host/CommandLine.hpp"

#include "Host/Message.hpp"
#include "Platform/Foundation/UTF8.hpp"

#include "Fuzz/Require.hpp"

#include <string>
#include <vector>

// A call of words, each of which ends with a NUL: it names a command, which is not run, or it ends as one that is
// wrong or asks for help. Names are shown without control characters, as UTF-8.

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::vector<std::string> words = {"velmorant"};
    for (std::string_view rest = fuzz::textOf(data, size); !rest.empty();) {
        words.emplace_back(rest.substr(0, rest.find('\0')));
        rest.remove_prefix(std::min(rest.size(), words.back().size() + 1));
    }
    std::vector<const char*> arguments;
    for (const std::string& word : words) {
        arguments.push_back(word.c_str());
        const std::string text = host::shown(word);
        for (std::string_view rest = text; !rest.empty(); rest.remove_prefix(platform::utf8Length(rest)))
            fuzz::require(platform::utf8Length(rest) > 0 && static_cast<unsigned char>(rest[0]) >= 0x20);
    }
    const auto command = host::commandOf(static_cast<int>(arguments.size()), arguments.data());
    fuzz::require(command || command.error() != host::ExitStatus::incomplete);
    fuzz::require(!command || *command);
    return 0;
}

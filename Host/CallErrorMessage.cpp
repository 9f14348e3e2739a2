#include "Host/CallErrorMessage.hpp"

#include "Host/Message.hpp"

#include <optional>
#include <vector>

namespace host {

namespace {

/// What the library says of calls that our options do not allow, and how we say it. The more special ones first.
struct Sentence {
    std::string_view theirs;
    const char* ours;
};
constexpr Sentence sentences[] = {
    {"The following argument was not expected: {}", translatable("{}: this word of the call is not known")},
    {"The following arguments were not expected: {}", translatable("these words of the call are not known: {}")},
    {"{}: Value {} not in range 0.000000 to 1797693{}", translatable("{}: {} is less than 0")}, // the largest double
    {"{}: Value {} not in range {} to {}", translatable("{}: {} does not lie between {} and {}")},
    {"{}: Value {} could not be converted", translatable("{}: {} is no value for it")},
    {"{}: Check {} value in {} FAILED", translatable("{1}: {2} is none of the words that it takes; see --help")},
    {"{}: {} required {} missing", translatable("{1}: {3} is missing")},
    {"{}: At least {} required but received {}", translatable("{}: at least {} are needed, {} are there")},
    {"{}: At Most {} required but received {}", translatable("{}: at most {} are possible, {} are there")},
    {"{}: {} not in {}", translatable("{}: {} is none of {}")},
    {"Could not convert: {} = {}", translatable("{}: {} is no value for it")},
    {"{} was given a disallowed flag override", translatable("{} takes no value")},
    {"{} excludes {}", translatable("{} and {} exclude each other")},
    {"{} requires {}", translatable("{} needs {}")},
    {"A subcommand is required", translatable("it is not said what to do")},
    {"{} is required", translatable("{} is missing")},
};

/// What stands in the holes of `sentence`; nothing where `text` is another one.
std::optional<std::vector<std::string_view>> partsOf(std::string_view text, std::string_view sentence) {
    std::vector<std::string_view> parts;
    for (bool isFirst = true;; isFirst = false) {
        const std::size_t hole = sentence.find("{}");
        const std::string_view piece = sentence.substr(0, hole);
        const bool isLast = hole == std::string_view::npos;
        if (isFirst ? !text.starts_with(piece) : isLast ? !text.ends_with(piece) : !text.contains(piece))
            return std::nullopt;
        const std::size_t at = isFirst ? 0 : isLast ? text.size() - piece.size() : text.find(piece);
        if (!isFirst)
            parts.emplace_back(text.substr(0, at));
        if (isLast)
            return at + piece.size() == text.size() ? std::optional(parts) : std::nullopt;
        text.remove_prefix(at + piece.size());
        sentence.remove_prefix(hole + 2);
    }
}

} // namespace

std::string callErrorMessage(std::string_view what) {
    for (const Sentence& sentence : sentences)
        if (const auto parts = partsOf(what, sentence.theirs))
            return messageOf(sentence.ours, *parts);
    return std::string(what);
}

} // namespace host

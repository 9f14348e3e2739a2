#include "Platform/Foundation/NaturalOrder.hpp"

#include <algorithm>

namespace platform {

namespace {

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

/// Cuts the digits off the front of `text`.
std::string_view takeDigits(std::string_view& text) {
    const auto end = std::ranges::find_if_not(text, isDigit);
    const std::string_view digits(text.begin(), end);
    text.remove_prefix(digits.size());
    return digits;
}

std::string_view withoutZeros(std::string_view digits) {
    digits.remove_prefix(std::min(digits.find_first_not_of('0'), digits.size()));
    return digits;
}

} // namespace

bool naturalLess(std::string_view a, std::string_view b) {
    const std::string_view wholeA = a, wholeB = b;
    while (!a.empty() && !b.empty()) {
        if (isDigit(a.front()) && isDigit(b.front())) {
            const std::string_view x = withoutZeros(takeDigits(a)), y = withoutZeros(takeDigits(b));
            if (x.size() != y.size())
                return x.size() < y.size();
            if (x != y)
                return x < y;
        } else {
            if (a.front() != b.front())
                return static_cast<unsigned char>(a.front()) < static_cast<unsigned char>(b.front());
            a.remove_prefix(1);
            b.remove_prefix(1);
        }
    }
    if (a.empty() != b.empty())
        return a.empty();
    return wholeA.size() != wholeB.size() ? wholeA.size() < wholeB.size() : wholeA < wholeB;
}

} // namespace platform

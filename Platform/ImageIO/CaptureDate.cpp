#include "Platform/ImageIO/CaptureDate.hpp"

#include <algorithm>
#include <cctype>

namespace platform {

namespace {

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

/// Reads a name from left to right. What is read is a copy: a failed attempt leaves no trace.
class Scanner {
public:
    explicit Scanner(std::string_view text) : rest_(text) {}

    std::size_t digits() const {
        return static_cast<std::size_t>(std::ranges::find_if_not(rest_, isDigit) - rest_.begin());
    }

    int number(std::size_t length) {
        int value = 0;
        for (std::size_t i = 0; i < length; ++i)
            value = value * 10 + (rest_[i] - '0');
        rest_.remove_prefix(length);
        return value;
    }

    /// Moves past one of "-._:h" and blanks; says which.
    char separator() {
        if (rest_.empty() || std::string_view("-._: ").find(rest_.front()) == std::string_view::npos)
            return '\0';
        const char found = rest_.front();
        rest_.remove_prefix(1);
        return found;
    }

    /// Moves past at most `most` bytes that are no digits, such as "-", "_", " at ", " um ".
    bool gap(std::size_t most) {
        const auto end = std::ranges::find_if(rest_, isDigit);
        const auto length = static_cast<std::size_t>(end - rest_.begin());
        rest_.remove_prefix(length);
        return length >= 1 && length <= most;
    }

    /// "AM" or "PM", after blanks of any width: 'A', 'P' or nothing.
    char halfOfDay() const {
        std::string_view text = rest_;
        for (const std::string_view blank : {" ", "\u00a0", "\u202f"})
            if (text.starts_with(blank))
                text.remove_prefix(blank.size());
        const auto stands = [&](std::string_view word) {
            return text.size() >= 2 && (text[0] | 0x20) == word[0] && (text[1] | 0x20) == word[1] &&
                   (text.size() == 2 || !std::isalnum(static_cast<unsigned char>(text[2])));
        };
        return stands("am") ? 'A' : stands("pm") ? 'P' : '\0';
    }

private:
    std::string_view rest_;
};

/// "20260301" or "2026-03-01" with any separator, twice the same.
bool readDate(Scanner& name, DateComponents& c) {
    const std::size_t digits = name.digits();
    if (digits == 8 || digits == 14 || digits == 17) {
        c.year = name.number(4);
        c.month = name.number(2);
        c.day = name.number(2);
        return true;
    }
    if (digits != 4)
        return false;
    c.year = name.number(4);
    const char first = name.separator();
    if (!first || name.digits() != 2)
        return false;
    c.month = name.number(2);
    if (name.separator() != first || name.digits() != 2)
        return false;
    c.day = name.number(2);
    return true;
}

/// "101112", "101112123", "10.11.12", "10-11-12-123", "1.05.07 PM".
bool readTime(Scanner& name, DateComponents& c) {
    const std::size_t digits = name.digits();
    if (digits == 6 || digits == 9) {
        c.hour = name.number(2);
        c.minute = name.number(2);
        c.second = name.number(2);
        if (digits == 9)
            c.nanosecond = name.number(3) * 1'000'000;
    } else {
        if (digits != 1 && digits != 2)
            return false;
        c.hour = name.number(digits);
        const char first = name.separator();
        if (!first || name.digits() != 2)
            return false;
        c.minute = name.number(2);
        if (name.separator() != first || name.digits() != 2)
            return false;
        c.second = name.number(2);
        if (Scanner after = name; after.separator() && after.digits() == 3)
            c.nanosecond = after.number(3) * 1'000'000;
    }
    if (const char half = name.halfOfDay(); half && c.hour >= 1 && c.hour <= 12)
        c.hour = c.hour % 12 + (half == 'P' ? 12 : 0);
    return true;
}

bool isPlausible(const DateComponents& c) {
    return c.year >= 1990 && c.year < 2100 && c.month >= 1 && c.month <= 12 && c.day >= 1 && c.day <= 31 &&
           c.hour < 24 && c.minute < 60 && c.second < 60;
}

} // namespace

std::optional<DateComponents> captureDateFromFileName(std::string_view fileName) {
    for (std::size_t start = 0; start < fileName.size(); ++start) {
        const bool begins = isDigit(fileName[start]) && (start == 0 || !isDigit(fileName[start - 1]));
        if (!begins)
            continue;
        Scanner name(fileName.substr(start));
        DateComponents c;
        if (!readDate(name, c))
            continue;
        const bool goesOn = name.digits() == 6 || name.digits() == 9; // 20260301101112
        if ((goesOn || name.gap(5)) && readTime(name, c) && isPlausible(c))
            return c;
    }
    return std::nullopt;
}

} // namespace platform

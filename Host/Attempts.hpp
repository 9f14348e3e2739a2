#pragma once

#include <chrono>
#include <optional>

namespace host {

/// When something is to be tried that may fail for reasons that pass, as a full disk does: after each failure twice as
/// long as before it, over two hours in all, then no more.
class Attempts {
public:
    using Clock = std::chrono::steady_clock;

    explicit Attempts(Clock::time_point first) : next_(first) {}

    /// Nothing: it was tried, and is not to be again unless `failed` says so.
    std::optional<Clock::time_point> next() const { return next_; }
    bool isFirst() const { return failures_ == 0; }

    /// Whether it is to be tried now, which is an attempt then.
    bool begin(Clock::time_point now) {
        const bool isDue = next_ && now >= *next_;
        if (isDue)
            next_.reset();
        return isDue;
    }
    void failed(Clock::time_point now) {
        if (failures_ < mostRepetitions)
            next_ = now + firstPause * (1 << failures_);
        ++failures_;
    }

private:
    static constexpr std::chrono::seconds firstPause{30};
    static constexpr int mostRepetitions = 8;

    std::optional<Clock::time_point> next_;
    int failures_ = 0;
};

} // namespace host

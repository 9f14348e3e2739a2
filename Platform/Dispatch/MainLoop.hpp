#pragma once

#include <chrono>
#include <functional>

namespace platform {

/// Drains the main queue. One thread at a time may do so.
class MainLoop {
public:
    /// Runs the main queue's items until `stop` is called.
    static void run();
    /// Ends the `run` under way after the item that it is running; from any thread.
    static void stop();
    /// Runs the main queue's items until `condition`, asked after each of them, holds, or `timeout` has passed. Answers
    /// whether it holds.
    static bool runUntil(const std::function<bool()>& condition, std::chrono::milliseconds timeout);
};

} // namespace platform

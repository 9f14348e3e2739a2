#pragma once

#include <chrono>
#include <functional>

/// How long `work` takes.
inline double secondsOf(const std::function<void()>& work) {
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

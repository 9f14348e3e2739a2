#pragma once

#include "Host/Interrupt.hpp"
#include "Platform/Dispatch/DispatchQueue.hpp"
#include "Platform/Dispatch/MainLoop.hpp"

#include <functional>
#include <memory>
#include <optional>

namespace host {

/// Drains the main queue until the callback that `begin` is handed has been called, on whatever thread. Nothing where
/// Ctrl-C came first. On the main thread.
template <class Answer>
std::optional<Answer> awaited(const std::function<void(std::function<void(Answer)>)>& begin) {
    const auto answer = std::make_shared<std::optional<Answer>>();
    begin([answer](Answer given) {
        platform::DispatchQueue::main().async([answer, given = std::move(given)] { *answer = given; });
    });
    while (!platform::MainLoop::runUntil([&] { return answer->has_value(); }, std::chrono::milliseconds(50)))
        if (Interrupt::requested())
            break;
    return std::move(*answer);
}

} // namespace host

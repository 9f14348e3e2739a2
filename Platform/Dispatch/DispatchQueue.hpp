#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

namespace platform {

enum class DispatchQoS { unspecified, userInteractive };

enum class DispatchWorkItemFlags : unsigned {
    none = 0,
    barrier = 1, ///< on a concurrent queue: runs alone, after all that was submitted before and before all after it
};

/// A labelled queue of work items over one shared pool of threads. A cheap handle; any thread may submit. Items start
/// in the order of their submission: on a serial queue one at a time, on a concurrent queue side by side except for
/// barriers. Waiting never starves: `sync` runs the block on the calling thread once it is admitted, and a waiting
/// thread runs items queued before it itself or is replaced in the pool. Items may throw nothing.
class DispatchQueue {
public:
    using Block = std::function<void()>;

    /// Serial. Drained by whoever runs `MainLoop`.
    static DispatchQueue main();
    static DispatchQueue serial(std::string label, DispatchQoS qos = DispatchQoS::unspecified);
    static DispatchQueue concurrent(std::string label, DispatchQoS qos = DispatchQoS::unspecified);
    /// The shared concurrent queue, for work that needs no order.
    static DispatchQueue global();

    void async(Block block) const { async(DispatchWorkItemFlags::none, std::move(block)); }
    void async(DispatchWorkItemFlags flags, Block block) const;

    /// Runs `block` on the calling thread once the queue admits it, and answers its result. On the queue that the
    /// caller runs on it would wait for itself: not allowed on serial queues and within barriers.
    template <class F>
    std::invoke_result_t<F> sync(F&& block) const {
        return sync(DispatchWorkItemFlags::none, std::forward<F>(block));
    }
    template <class F>
    std::invoke_result_t<F> sync(DispatchWorkItemFlags flags, F&& block) const {
        using Result = std::invoke_result_t<F>;
        if constexpr (std::is_void_v<Result>) {
            runSync(flags, [&block] { block(); });
        } else {
            std::optional<Result> result;
            runSync(flags, [&block, &result] { result.emplace(block()); });
            return std::move(*result);
        }
    }

    /// Runs `block(0)` … `block(iterations - 1)` side by side, the calling thread included, and returns after the last.
    /// Safe to nest and to call from any thread.
    static void concurrentPerform(std::size_t iterations, const std::function<void(std::size_t)>& block);

    std::string_view label() const;

    friend bool operator==(const DispatchQueue&, const DispatchQueue&) = default;

private:
    struct State;
    explicit DispatchQueue(std::shared_ptr<State> state) : state_(std::move(state)) {}
    void runSync(DispatchWorkItemFlags flags, const std::function<void()>& block) const;

    std::shared_ptr<State> state_;
};

} // namespace platform

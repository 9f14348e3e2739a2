#include "Platform/Dispatch/DispatchQueue.hpp"

#include "Platform/Dispatch/MainInbox.hpp"
#include "Platform/Dispatch/Mutex.hpp"
#include "Platform/Dispatch/ThreadPool.hpp"

#include <deque>

namespace platform {

namespace {

enum class Kind { main, serial, concurrent };

} // namespace

/// Items wait in `items` in the order of their submission. The first of them is admitted as soon as it may run beside
/// those that run: an exclusive one when none runs, any other when no exclusive one runs. Since only the first is ever
/// looked at, nothing overtakes a waiting barrier.
struct DispatchQueue::State : std::enable_shared_from_this<DispatchQueue::State> {
    State(Kind queueKind, std::string queueLabel, DispatchQoS queueQos)
        : kind(queueKind), label(std::move(queueLabel)), qos(queueQos) {}

    struct Item {
        bool exclusive;
        Block block;              ///< started once admitted, or
        bool* admitted = nullptr; ///< set once admitted: the thread in `sync` runs its block itself
    };

    // Constant after construction.
    const Kind kind;
    const std::string label;
    const DispatchQoS qos;

    Mutex mutex;
    Condition admission; ///< some `admitted` was set
    std::deque<Item> items VELMORANT_GUARDED_BY(mutex);
    std::size_t running VELMORANT_GUARDED_BY(mutex) = 0;
    bool exclusiveRunning VELMORANT_GUARDED_BY(mutex) = false;

    bool isExclusive(DispatchWorkItemFlags flags) const {
        return kind != Kind::concurrent || flags == DispatchWorkItemFlags::barrier;
    }

    bool mayRun(bool exclusive) const VELMORANT_REQUIRES(mutex) { return exclusive ? running == 0 : !exclusiveRunning; }

    void admit() VELMORANT_REQUIRES(mutex) {
        while (!items.empty() && mayRun(items.front().exclusive)) {
            Item item = std::move(items.front());
            items.pop_front();
            ++running;
            exclusiveRunning = item.exclusive;
            if (item.admitted) {
                *item.admitted = true;
                admission.notifyAll();
            } else {
                start(std::move(item.block));
            }
        }
    }

    void start(Block block) VELMORANT_REQUIRES(mutex) {
        auto run = [self = shared_from_this(), block = std::move(block)]() mutable {
            block();
            block = nullptr; // before the next item: what it holds counts as part of it
            self->finish();
        };
        if (kind == Kind::main)
            MainInbox::shared().add(std::move(run));
        else
            ThreadPool::shared().submit(qos, std::move(run));
    }

    void finish() {
        const MutexLock lock(mutex);
        --running;
        exclusiveRunning = false; // an exclusive item ran alone
        admit();
    }
};

DispatchQueue DispatchQueue::main() {
    static const auto& state =
        *new std::shared_ptr<State>(std::make_shared<State>(Kind::main, "main", DispatchQoS::userInteractive));
    return DispatchQueue(state);
}

DispatchQueue DispatchQueue::serial(std::string label, DispatchQoS qos) {
    return DispatchQueue(std::make_shared<State>(Kind::serial, std::move(label), qos));
}

DispatchQueue DispatchQueue::concurrent(std::string label, DispatchQoS qos) {
    return DispatchQueue(std::make_shared<State>(Kind::concurrent, std::move(label), qos));
}

DispatchQueue DispatchQueue::global() {
    static const auto& state =
        *new std::shared_ptr<State>(std::make_shared<State>(Kind::concurrent, "global", DispatchQoS::unspecified));
    return DispatchQueue(state);
}

void DispatchQueue::async(DispatchWorkItemFlags flags, Block block) const {
    const MutexLock lock(state_->mutex);
    state_->items.push_back({state_->isExclusive(flags), std::move(block)});
    state_->admit();
}

void DispatchQueue::runSync(DispatchWorkItemFlags flags, const std::function<void()>& block) const {
    State& state = *state_;
    if (state.kind == Kind::main) { // its items run on the thread that drains it
        struct {
            Mutex mutex;
            Condition done;
            bool isDone VELMORANT_GUARDED_BY(mutex) = false;
        } wait;
        async(flags, [&] {
            block();
            const MutexLock lock(wait.mutex);
            wait.isDone = true;
            wait.done.notifyOne();
        });
        const ThreadPool::Waiting waiting;
        const MutexLock lock(wait.mutex);
        while (!wait.isDone)
            wait.done.wait(wait.mutex);
        return;
    }

    bool admitted = false; // guarded by state.mutex
    bool atOnce = false;
    {
        const MutexLock lock(state.mutex);
        state.items.push_back({state.isExclusive(flags), nullptr, &admitted});
        state.admit();
        atOnce = admitted;
    }
    if (!atOnce) {
        const ThreadPool::Waiting waiting;
        const MutexLock lock(state.mutex);
        while (!admitted)
            state.admission.wait(state.mutex);
    }
    block();
    state.finish();
}

std::string_view DispatchQueue::label() const {
    return state_->label;
}

} // namespace platform

#include "Platform/Foundation/FolderWatch.hpp"

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/inotify.h>

#include <array>
#include <cstdint>

namespace platform {

std::unique_ptr<FolderWatch> FolderWatch::make(const std::filesystem::path& folder, std::function<void()> changed) {
    FileDescriptor events(inotify_init1(IN_NONBLOCK | IN_CLOEXEC)), end(eventfd(0, EFD_CLOEXEC));
    constexpr auto kinds = IN_MODIFY | IN_CLOSE_WRITE | IN_CREATE | IN_DELETE | IN_MOVE | IN_ONLYDIR;
    if (!events || !end || inotify_add_watch(events.number(), folder.c_str(), kinds) < 0)
        return nullptr;
    return std::unique_ptr<FolderWatch>(new FolderWatch(std::move(events), std::move(end), std::move(changed)));
}

FolderWatch::FolderWatch(FileDescriptor events, FileDescriptor end, std::function<void()> changed)
    : events_(std::move(events)), end_(std::move(end)), changed_(std::move(changed)), thread_([this] { run(); }) {}

FolderWatch::~FolderWatch() {
    const std::uint64_t one = 1;
    std::ignore = write(end_.number(), &one, sizeof one);
    thread_.join();
}

void FolderWatch::run() {
    for (;;) {
        std::array<pollfd, 2> waiting = {pollfd{events_.number(), POLLIN, 0}, pollfd{end_.number(), POLLIN, 0}};
        if (poll(waiting.data(), waiting.size(), -1) < 0)
            continue; // a signal
        if (waiting[1].revents != 0)
            return;
        std::array<char, 1 << 14> ignored;
        while (read(events_.number(), ignored.data(), ignored.size()) > 0) {
        }
        changed_();
    }
}

} // namespace platform

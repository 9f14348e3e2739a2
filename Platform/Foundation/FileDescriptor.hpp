#pragma once

#include <unistd.h>

#include <utility>

namespace platform {

/// Owns an open file; -1: none.
class FileDescriptor {
public:
    explicit FileDescriptor(int number = -1) : number_(number) {}
    FileDescriptor(FileDescriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
    FileDescriptor& operator=(FileDescriptor&& other) noexcept {
        std::swap(number_, other.number_);
        return *this;
    }
    ~FileDescriptor() {
        if (number_ >= 0)
            close(number_);
    }

    int number() const { return number_; }
    int release() { return std::exchange(number_, -1); }
    explicit operator bool() const { return number_ >= 0; }

private:
    int number_;
};

} // namespace platform

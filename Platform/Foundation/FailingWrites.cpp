#include "Platform/Foundation/FailingWrites.hpp"

#include <atomic>

namespace platform {

namespace {

std::atomic<int> untilFailure = 0; // 0: none is to fail; 1: the next; -1: it has happened
std::atomic<bool> simpleFileSystem = false;

} // namespace

FailingWrites::FailingWrites(int n) {
    untilFailure = n;
}
FailingWrites::~FailingWrites() {
    untilFailure = 0;
}
bool FailingWrites::happened() const {
    return untilFailure == -1;
}
bool FailingWrites::isToFail() {
    int left = untilFailure;
    while (left > 0 && !untilFailure.compare_exchange_weak(left, left == 1 ? -1 : left - 1)) {
    }
    return left == 1;
}

SimpleFileSystem::SimpleFileSystem() {
    simpleFileSystem = true;
}
SimpleFileSystem::~SimpleFileSystem() {
    simpleFileSystem = false;
}
bool SimpleFileSystem::isSet() {
    return simpleFileSystem;
}

} // namespace platform

#include "util/process.h"

#include <pthread.h>

#include <atomic>

namespace util {
namespace {

// Cheaper than asking for the process's id in each call.
std::atomic<bool> forkedChild{false};

} // namespace

void claimProcess() {
    [[maybe_unused]] static const int registered =
        ::pthread_atfork(nullptr, nullptr, [] { forkedChild.store(true, std::memory_order_relaxed); });
}

bool isForkedChild() {
    return forkedChild.load(std::memory_order_relaxed);
}

} // namespace util

// Waits for a condition with a deadline that only a fault can reach.
#pragma once

#include <chrono>
#include <thread>

template<typename Condition> bool eventually(Condition&& condition) {
    constexpr std::chrono::seconds kDeadline{60};
    const auto end = std::chrono::steady_clock::now() + kDeadline;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

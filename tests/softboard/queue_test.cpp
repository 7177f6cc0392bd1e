// The data queue's way of ending a wait, which the hardware library's calls alone cannot show safely.
#include "softboard/DataQueue.h"
#include "softboard/Hub.h"
#include "softboard/hw_results.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

namespace {

TEST(DataQueue, SendsAWaitingReaderHomeWhenItCloses) {
    softboard::Hub wire;
    softboard::DataQueue queue(1024, wire);
    std::uint32_t word = 0;
    EXPECT_EQ(queue.read(&word, sizeof word, 0), softboard::kQueueClosed);
    EXPECT_FALSE(queue.pushWords(std::vector<std::uint32_t>{1}));
    queue.setOpen(true);
    int result = 0;
    std::thread reader([&] {
        std::uint32_t got = 0;
        while ((result = queue.read(&got, sizeof got, 20000)) == sizeof got) {
        }
    });
    EXPECT_TRUE(queue.pushWords(std::vector<std::uint32_t>{1}));
    while (queue.queuedWords() != 0) { // the reader is in its loop
        std::this_thread::yield();
    }
    queue.setOpen(false);
    reader.join();
    EXPECT_EQ(result, softboard::kQueueClosed);
}

} // namespace

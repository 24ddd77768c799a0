#include "base/SerialQueue.h"

#include <future>
#include <gtest/gtest.h>

TEST(SerialQueue, NobodyWaitsForATaskThatHangsAndWhatFollowsIsStillRun) {
    std::promise<void> begun, goesOn, done;
    std::vector<int> order;
    {
        SerialQueue queue;
        queue.post([&] {
            begun.set_value();
            goesOn.get_future().wait();
        });
        begun.get_future().wait();
        EXPECT_FALSE(queue.drain(std::chrono::milliseconds(1)));
        for (int i = 0; i < 3; ++i)
            queue.post([&, i] { order.push_back(i); });
        queue.post([&] { done.set_value(); });
    }
    goesOn.set_value();
    ASSERT_EQ(done.get_future().wait_for(std::chrono::seconds(10)), std::future_status::ready);
    EXPECT_EQ(order, (std::vector{0, 1, 2}));
}

TEST(SerialQueue, WhatWasPostedIsDoneOnceItIsDrained) {
    SerialQueue queue;
    for (int done = 0, round = 1; round <= 100; ++round) { // with the thread sanitizer, a race with the thread is seen
        queue.post([&] { ++done; });
        EXPECT_TRUE(queue.drain(std::chrono::seconds(10)));
        EXPECT_EQ(done, round);
    }
}

#include "sync/CopyPipeline.h"

#include "support/TestTree.h"

#include <cerrno>
#include <deque>
#include <gtest/gtest.h>
#include <mutex>
#include <thread>

#include <fcntl.h>

namespace {

using Lines = std::vector<std::string>;

/// A pipeline whose copies are small real files, and which writes down what is done with them.
class PipelineTest : public testing::Test {
  protected:
    void SetUp() override {
        tree.dir("0");
        volume.halves[0] = FileDescriptor(::open((tree / "0").c_str(), O_RDONLY | O_CLOEXEC));
        volume.anywhere = FileDescriptor(::open(tree.top().c_str(), O_RDONLY | O_CLOEXEC));
        volume.area = FileDescriptor(::open(tree.top().c_str(), O_RDONLY | O_CLOEXEC));
        volume.durability = Durability::Method::WholeVolume;
    }

    /// The next copy; its size is its number.
    CopyInProgress failedItem() {
        PlannedCopy &copy = copies.emplace_back();
        copy.size = std::ssize(copies) - 1;
        CopyInProgress made;
        made.copy = &copy;
        made.version.size = copy.size;
        return made;
    }

    CopyInProgress item() {
        CopyInProgress made = failedItem();
        const std::string name = std::to_string(made.copy->size);
        volume.filling = 0;
        tree.file("0/" + name);
        made.state.emplace<StagedCopy>(volume, name);
        return made;
    }

    CopyPipeline make() {
        return CopyPipeline([this](CopyInProgress &made) { publish(made); },
                            [this](CopyInProgress &made, int flushError) { return settle(made, flushError); });
    }

    /// How many staged files are still there.
    std::size_t waiting() const { return tree.snapshot("0").size(); }

    /// Those of the events that begin with `kind`, without it.
    Lines only(const std::string &kind) const {
        Lines found;
        for (const std::string &event : events) {
            if (event.starts_with(kind))
                found.push_back(event.substr(kind.size()));
        }
        return found;
    }

    TestTree tree;
    TempVolume volume;
    std::deque<PlannedCopy> copies;
    std::mutex lock; // batches publish on a thread of their own
    Lines events;
    std::int64_t failsToPublish = -1;
    std::int64_t stopsAt = -1;

  private:
    void publish(CopyInProgress &made) {
        const std::scoped_lock held(lock);
        const std::int64_t number = made.copy->size;
        events.push_back("publish " + std::to_string(number));
        if (number == failsToPublish)
            made.state = CopyInProgress::NotPublished{std::make_exception_ptr(std::runtime_error("failed"))};
        else
            made.state = PublishedCopy{Published::Added};
    }

    CopyPipeline::Next settle(CopyInProgress &made, int flushError) {
        const std::scoped_lock held(lock);
        const std::int64_t number = made.copy->size;
        std::string event = "settle " + std::to_string(number);
        event += flushError ? " flush " + std::to_string(flushError) : "";
        event += std::holds_alternative<CopyInProgress::NotPublished>(made.state) ? " failed"
                 : std::holds_alternative<PublishedCopy>(made.state)              ? " done"
                                                                                  : "";
        events.push_back(event);
        return number == stopsAt ? CopyPipeline::Next::Stop : CopyPipeline::Next::GoOn;
    }
};

TEST_F(PipelineTest, SettlesFailuresAndSuccessesInTheOrderAdded) {
    CopyPipeline pipeline = make();
    Lines expected;
    Lines published;
    for (int i = 0; i < 2'500; ++i) {
        const bool fails = i % 7 == 3 || i == 1'000;
        EXPECT_EQ(pipeline.add(fails ? failedItem() : item()), CopyPipeline::Next::GoOn);
        expected.push_back(std::to_string(i) + (fails ? "" : " done"));
        if (!fails)
            published.push_back(std::to_string(i));
    }
    EXPECT_EQ(pipeline.drain(), CopyPipeline::Next::GoOn);
    EXPECT_EQ(only("settle "), expected);
    EXPECT_EQ(only("publish "), published);
    EXPECT_EQ(waiting(), 0u);
    EXPECT_EQ(pipeline.flushPublished(), 0);
}

TEST_F(PipelineTest, AfterAFailureNothingIsPublishedBeforeItWasJudged) {
    failsToPublish = 1;
    CopyPipeline pipeline = make();
    for (int i = 0; i < 4; ++i)
        pipeline.add(item());
    EXPECT_EQ(pipeline.drain(), CopyPipeline::Next::GoOn);
    EXPECT_EQ(events, (Lines{"publish 0", "publish 1", "settle 0 done", "settle 1 failed", "publish 2", "settle 2 done",
                             "publish 3", "settle 3 done"}));
}

TEST_F(PipelineTest, WhatIsFlushedFileByFileIsPublishedAtOnce) {
    volume.durability = Durability::Method::EachFile;
    CopyPipeline pipeline = make();
    pipeline.add(item());
    const auto published = [this] {
        const std::scoped_lock held(lock);
        return only("publish ");
    };
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (published().empty() && std::chrono::steady_clock::now() < deadline)
        std::this_thread::yield();
    EXPECT_EQ(published(), Lines{"0"}) << "although nothing was drained";
    EXPECT_EQ(pipeline.drain(), CopyPipeline::Next::GoOn);
    EXPECT_EQ(only("settle "), Lines{"0 done"});
}

TEST_F(PipelineTest, AStopDropsAllThatWaits) {
    failsToPublish = stopsAt = 1;
    CopyPipeline pipeline = make();
    for (int i = 0; i < 4; ++i)
        pipeline.add(item());
    EXPECT_EQ(pipeline.drain(), CopyPipeline::Next::Stop);
    EXPECT_EQ(events, (Lines{"publish 0", "publish 1", "settle 0 done", "settle 1 failed"}));
    EXPECT_EQ(waiting(), 0u);
}

TEST_F(PipelineTest, WithoutItsFlushNothingOfABatchIsPublished) {
    volume.anywhere.reset();
    CopyPipeline pipeline = make();
    pipeline.add(item());
    pipeline.add(failedItem());
    pipeline.add(item());
    EXPECT_EQ(pipeline.drain(), CopyPipeline::Next::GoOn);
    const std::string bad = " flush " + std::to_string(EBADF);
    EXPECT_EQ(events, (Lines{"settle 0" + bad, "settle 1" + bad, "settle 2" + bad}));
    EXPECT_EQ(waiting(), 0u);
    EXPECT_EQ(pipeline.flushPublished(), 0); // nothing was published, so nothing is left to write down
}

} // namespace

#pragma once

#include "store/Log.h"
#include "store/TestRoot.h"
#include "support/TestTree.h"

#include <fstream>
#include <gtest/gtest.h>

/// A fresh test root, `tree`; for all tests of a process in one place, because the log stays where it was first.
class StoreUnderTest : public testing::Test {
  protected:
    using Lines = std::vector<std::string>;
    using Snapshot = std::map<std::string, std::string>;

    StoreUnderTest() {
        fs::remove_all(tree.top());
        if (TestRoot::prepare(tree.top()) != TestRoot::url()) // a thread of an earlier test may be reading it
            TestRoot::set(tree.top());
        fs::create_directories(Log::shared().url().parent_path());
        logged(); // of an earlier test
    }

    /// The log's lines since the last call, without their times.
    static Lines logged() {
        EXPECT_TRUE(Log::shared().flush(std::chrono::seconds(10)));
        Lines lines;
        std::ifstream file(Log::shared().url());
        for (std::string line; std::getline(file, line);)
            lines.push_back(line.substr(21));
        fs::remove(Log::shared().url());
        return lines;
    }

    static fs::perms modeOf(const std::string &relative) { return fs::status(tree / relative).permissions(); }

    static inline TestTree tree;
};

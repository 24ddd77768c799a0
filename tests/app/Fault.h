#pragma once

#include "app/ProgramTest.h"

#include <algorithm>
#include <ostream>

/// Faults in the form of Program::inject() that make one situation.
struct FaultRow {
    const char *situation;
    std::vector<std::string> faults;
};

inline void PrintTo(const FaultRow &row, std::ostream *out) {
    *out << row.situation;
}

/// A tree with new and changed files, and a program that is told that something doesn't work.
class Fault : public ProgramTest {
  protected:
    using Lines = std::vector<std::string>;

    void SetUp() override {
        if (const auto reason = Program::whyNoFaults())
            GTEST_SKIP() << *reason;
        tree.file("Photos/changed 1.jpg", "second version", later(someTime, 100));
        tree.file("OneDrive/Photos/changed 1.jpg", "first version");
        tree.file("Photos/changed 2.jpg", "another second version", {1'600'000'100, 123'456'789});
        tree.file("OneDrive/Photos/changed 2.jpg", "another first version");
        tree.file("Photos/new.jpg", "new");
        tree.file("Photos/sub/deeper/new.jpg", "also new");
        tree.file("Photos/sub/large.jpg", std::string(700'000, 'x'));
        tree.dir("Photos/empty");
    }

    Program meddledWith(const std::vector<std::string> &faults,
                        const std::vector<std::string> &options = {"--json"}) const {
        Program program = backUp(options);
        for (const std::string &fault : faults)
            program.inject(fault);
        return program;
    }

    /// One run that nothing stands in the way of; afterwards everything is as if nothing had ever happened.
    void expectTheNextRunPutsEverythingRight() const {
        const Program::Outcome outcome = backUp().run();
        EXPECT_EQ(outcome.status, 0) << outcome.out << outcome.err;
        expectComplete();
    }

    void expectComplete() const {
        EXPECT_EQ(tree.snapshot("OneDrive/Photos"), tree.snapshot("Photos"));
        EXPECT_EQ(leftovers(), Lines());
    }

    static Lines errorsOf(const SyncRun &run) {
        Lines lines;
        for (const QString &line : run.errors)
            lines.push_back(line.toStdString());
        std::sort(lines.begin(), lines.end());
        return lines;
    }

    /// Every item of the backup is as it was before or as the original is.
    void expectOldOrNew(const Snapshot &before) const {
        const Snapshot original = tree.snapshot("Photos");
        Snapshot now = tree.snapshot("OneDrive/Photos");
        std::erase_if(now, [](const auto &item) { return item.first.find(".tw-") != std::string::npos; });
        for (const auto &[path, facts] : now) {
            const auto old = before.find(path);
            ASSERT_TRUE(original.contains(path)) << path;
            EXPECT_TRUE(facts == original.at(path) || (old != before.end() && facts == old->second)) << path;
        }
        for (const auto &[path, facts] : before)
            EXPECT_TRUE(now.contains(path)) << path;
    }
};

#include "sync/Swap.h"

#include "platform/FolderAnchor.h"
#include "support/TestTree.h"
#include "sync/CopyError.h"

#include <gtest/gtest.h>

#include <sys/stat.h>

namespace {

constexpr FileTime copyTime = later(someTime, 100);
const std::string copyContent = "new version";
const FileVersion original = {static_cast<std::int64_t>(copyContent.size()), copyTime};
const std::string inTheWay = "something that is neither a file nor a folder is in the way in OneDrive";

/// A staged copy "area/copy" and a place "target/file".
class SwapTree : public TestTree {
  public:
    SwapTree() {
        file("area/copy", copyContent, copyTime);
        dir("target");
    }

    /// What became of it: the outcome or the failure, then whatever is not as it was.
    std::string swap(const FileVersion *planned, const SyncRules &rules = {}) const {
        const auto before = snapshot();
        const FolderAnchor area(top() / "area");
        const FolderAnchor target(top() / "target");
        std::string outcome;
        try {
            Mover mover;
            outcome = nameOf(Swap::intoPlace(mover, {area.descriptor(), "copy"}, {target.descriptor(), "file"},
                                             original, planned, rules));
        } catch (const std::system_error &error) {
            outcome = "errno " + std::to_string(error.code().value());
        } catch (const CopyError &error) {
            outcome = error.what();
        }
        auto moved = before;
        moved.extract("area/copy");
        moved["target/file"] = before.at("area/copy");
        const auto after = snapshot();
        return outcome + (after == before ? "" : after == moved ? ", moved" : ", broken");
    }

  private:
    static std::string nameOf(Published published) {
        switch (published) {
        case Published::Added:
            return "added";
        case Published::Updated:
            return "updated";
        case Published::UpToDate:
            return "up to date";
        case Published::KeptNewer:
            return "kept newer";
        case Published::FolderInTheWay:
            break;
        }
        return "folder in the way";
    }
};

using Prepare = std::function<void(SwapTree &)>;

Prepare fileWith(const std::string &content, FileTime time) {
    return [=](SwapTree &tree) { tree.file("target/file", content, time); };
}

constexpr FileTime afterCopy(std::int64_t seconds, std::int32_t nanoseconds = 0) {
    return {copyTime.seconds + seconds, copyTime.nanoseconds + nanoseconds};
}

struct Row {
    std::string name;
    Prepare stands;
    std::string outcome;
    SyncRules rules = {};
};

class SwapTest : public testing::TestWithParam<Row> {};

/// Whether the plan saw nothing there or an old version: what is replaced is what was planned, or was decided anew.
TEST_P(SwapTest, DecidesByWhatStandsThereNow) {
    const FileVersion planned = {6, someTime};
    for (const FileVersion *expected : {static_cast<const FileVersion *>(nullptr), &planned}) {
        SwapTree tree;
        GetParam().stands(tree);
        EXPECT_EQ(tree.swap(expected, GetParam().rules), GetParam().outcome);
    }
}

const std::string sameSize(copyContent.size(), 'x');

INSTANTIATE_TEST_SUITE_P(
    Target, SwapTest,
    testing::Values(
        Row{"Nothing", [](SwapTree &) {}, "added, moved"},
        Row{"WhatThePlanSaw", fileWith("before", someTime), "updated, moved"},
        Row{"AnotherOldVersion", fileWith("other", later(someTime, 50)), "updated, moved"},
        Row{"SameDateAnotherSize", fileWith("longer than before", copyTime), "updated, moved"},
        Row{"TheSameAtTheToleranceAfter", fileWith(sameSize, afterCopy(2)), "up to date"},
        Row{"TheSameAtTheToleranceBefore", fileWith(sameSize, afterCopy(-2)), "up to date"},
        Row{"NewerJustBeyondTheTolerance", fileWith(sameSize, afterCopy(2, 1000)), "kept newer"},
        Row{"OlderJustBeyondTheTolerance", fileWith(sameSize, afterCopy(-3, 999'999'000)), "updated, moved"},
        Row{"NewerAndEmpty", fileWith("", afterCopy(50)), "kept newer"},
        Row{"NewerWithTheSizeThatThePlanSaw", fileWith("before", afterCopy(50)), "kept newer"},
        Row{"AnHourNewer", fileWith(sameSize, afterCopy(3600)), "kept newer"},
        Row{"AnHourNewerOnFat", fileWith(sameSize, afterCopy(3600)), "up to date", {.fatTimeQuirk = true}},
        Row{"AFolder", [](SwapTree &tree) { tree.dir("target/file"); }, "folder in the way"},
        Row{"ALinkToNothing", [](SwapTree &tree) { tree.link("target/file", "nothing"); }, inTheWay},
        Row{"ALinkToAFolder", [](SwapTree &tree) { tree.link("target/file", "."); }, inTheWay},
        Row{"AFifo", [](SwapTree &tree) { ASSERT_EQ(::mkfifo((tree / "target/file").c_str(), 0600), 0); }, inTheWay}),
    [](const auto &row) { return row.param.name; });

} // namespace

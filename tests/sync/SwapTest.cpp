#include "sync/Swap.h"

#include "platform/FolderAnchor.h"
#include "sync/CopyError.h"
#include "sync/PlanUnderTest.h"
#include "sync/RunUnderTest.h"

#include <cerrno>
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

    FileVersion version() const { return {std::ssize(read("target/file")), time("target/file")}; }

    /// What became of it: the outcome or the failure, then whatever is not as it was.
    std::string swap(const FileVersion *planned, const SyncRules &rules = {}) const {
        const auto before = snapshot();
        const FolderAnchor area(top() / "area");
        const FolderAnchor target(top() / "target");
        std::string outcome;
        try {
            Mover mover;
            outcome = nameOf(Swap::intoPlace(mover, {area.descriptor(), "copy"},
                                             {target.descriptor(), "file"}, original, planned, rules));
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
    std::string whenNew;    ///< the outcome when nothing was planned to stand there
    std::string whenUpdate; ///< the outcome when the plan saw "old", 6 bytes, at someTime
    SyncRules rules = {};
};

class SwapTest : public testing::TestWithParam<Row> {};

TEST_P(SwapTest, DecidesByWhatStandsThereNow) {
    const FileVersion planned = {6, someTime};
    for (const FileVersion *expected : {static_cast<const FileVersion *>(nullptr), &planned}) {
        SwapTree tree;
        GetParam().stands(tree);
        EXPECT_EQ(tree.swap(expected, GetParam().rules),
                  expected ? GetParam().whenUpdate : GetParam().whenNew);
    }
}

const std::string sameSize(copyContent.size(), 'x');

INSTANTIATE_TEST_SUITE_P(
    Target, SwapTest,
    testing::Values(
        Row{"Nothing", [](SwapTree &) {}, "added, moved", "added, moved"},
        Row{"WhatThePlanSaw", fileWith("before", someTime), "updated, moved", "updated, moved"},
        Row{"AnotherOldVersion", fileWith("other", later(someTime, 50)), "updated, moved", "updated, moved"},
        Row{"AnEvenOlderVersion", fileWith("before", later(someTime, -50)), "updated, moved",
            "updated, moved"},
        Row{"SameDateAnotherSize", fileWith("longer than before", copyTime), "updated, moved",
            "updated, moved"},
        Row{"TheSameVersion", fileWith(sameSize, copyTime), "up to date", "up to date"},
        Row{"TheSameAtTheToleranceAfter", fileWith(sameSize, afterCopy(2)), "up to date", "up to date"},
        Row{"TheSameAtTheToleranceBefore", fileWith(sameSize, afterCopy(-2)), "up to date", "up to date"},
        Row{"NewerJustBeyondTheTolerance", fileWith(sameSize, afterCopy(2, 1000)), "kept newer",
            "kept newer"},
        Row{"OlderJustBeyondTheTolerance", fileWith(sameSize, afterCopy(-3, 999'999'000)), "updated, moved",
            "updated, moved"},
        Row{"NewerWithAnotherSize", fileWith("", afterCopy(50)), "kept newer", "kept newer"},
        Row{"NewerWithTheSizeThatThePlanSaw", fileWith("before", afterCopy(50)), "kept newer", "kept newer"},
        Row{"AnHourNewer", fileWith(sameSize, afterCopy(3600)), "kept newer", "kept newer"},
        Row{"AnHourNewerOnFat",
            fileWith(sameSize, afterCopy(3600)),
            "up to date",
            "up to date",
            {.fatTimeQuirk = true}},
        Row{"AFolder", [](SwapTree &tree) { tree.file("target/file/inside"); }, "folder in the way",
            "folder in the way"},
        Row{"AnEmptyFolder", [](SwapTree &tree) { tree.dir("target/file"); }, "folder in the way",
            "folder in the way"},
        Row{"ALinkToAFile",
            [](SwapTree &tree) {
                tree.file("target/other", "before");
                tree.link("target/file", "other");
            },
            inTheWay, inTheWay},
        Row{"ALinkToNothing", [](SwapTree &tree) { tree.link("target/file", "nothing"); }, inTheWay,
            inTheWay},
        Row{"ALinkToAFolder", [](SwapTree &tree) { tree.link("target/file", "."); }, inTheWay, inTheWay},
        Row{"AFifo", [](SwapTree &tree) { ASSERT_EQ(::mkfifo((tree / "target/file").c_str(), 0600), 0); },
            inTheWay, inTheWay}),
    [](const auto &row) { return row.param.name; });

/// Whatever the plan saw and whatever stands there: what is replaced is what was planned, or was decided
/// anew.
TEST(Swap, NeverReplacesANewerFile) {
    for (const std::int64_t there : {-3601, -3600, -100, -3, -2, 0, 1, 2, 3, 100, 3600, 1'000'000'000}) {
        for (const std::size_t size : {std::size_t{0}, copyContent.size(), std::size_t{40}}) {
            SwapTree tree;
            tree.file("target/file", std::string(size, 'x'), afterCopy(there));
            const FileVersion planned = {6, later(someTime, -5)};
            tree.swap(&planned);
            const bool replaced = tree.read("target/file") == copyContent;
            EXPECT_TRUE(!replaced || there <= 2) << there << ", " << size;
            EXPECT_EQ(replaced, there < -2 || (there <= 2 && size != copyContent.size()))
                << there << ", " << size;
        }
    }
}

struct Refused {
    std::string name;
    int plain;
    int exclusive;
    std::string outcome;
};

class SwapByHandTest : public testing::TestWithParam<Refused> {};

TEST_P(SwapByHandTest, ReplacesOrLeavesTheOldVersion) {
    SwapTree tree;
    tree.file("target/file", "before");
    EXPECT_EQ(PlanUnderTest::inChild([&] {
                  RunUnderTest::refuseRenameAcross(GetParam().plain, GetParam().exclusive);
                  const FileVersion planned = tree.version();
                  return tree.swap(&planned);
              }),
              GetParam().outcome);
}

INSTANTIATE_TEST_SUITE_P(RenameOver, SwapByHandTest,
                         testing::Values(Refused{"Works", 0, 0, "updated, moved"},
                                         Refused{"IsRefusedForTheFileInTheWay", EEXIST, 0, "updated, moved"},
                                         Refused{"IsInvalid", EINVAL, 0, "updated, moved"},
                                         Refused{"IsNotSupported", EOPNOTSUPP, 0, "updated, moved"},
                                         Refused{"FailsOtherwise", EIO, 0, "errno 5"},
                                         Refused{"IsNotPermitted", EPERM, 0, "errno 1"},
                                         Refused{"FailsAndThenTheMoveInFailsToo", EEXIST, EIO, "errno 5"}),
                         [](const auto &row) { return row.param.name; });

} // namespace

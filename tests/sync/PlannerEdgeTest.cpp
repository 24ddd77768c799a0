#include "support/Restricted.h"
#include "support/TestTree.h"
#include "sync/PlanUnderTest.h"

#include <cerrno>
#include <gtest/gtest.h>
#include <sched.h>
#include <utility>

#include <sys/mount.h>
#include <sys/syscall.h>

namespace {

using PlanUnderTest::Lines;
using PlanUnderTest::planOf;
using PlanUnderTest::sorted;
using PlanUnderTest::text;
using PlanUnderTest::told;

const std::string ownUnreadable = ": couldn't read your folder of this folder, so it was skipped. ";
const std::string backupUnreadable = ": couldn't read the backup copy of this folder, so it was skipped. ";
const std::string backupItself = ": this is the backup folder itself, so it was skipped";

/// The plan of "original" and "backup" as a user makes it who has no right to these folders.
std::optional<std::string> planWithLocked(const TestTree &tree, const Lines &folders) {
    fs::permissions(tree.top(), fs::perms(0755));
    for (const std::string &folder : folders)
        fs::permissions(tree / folder, fs::perms::none);
    const std::optional<std::string> plan =
        PlanUnderTest::asOrdinaryUser([&] { return text(sorted(told(planOf(tree / "original", tree / "backup")))); });
    for (const std::string &folder : folders)
        fs::permissions(tree / folder, fs::perms(0755));
    return plan;
}

TEST(PlannerUnreadable, FoldersBelowAreProblemsAndTheirSiblingsGoOn) {
    TestTree tree;
    for (const std::string sub : {"in/locked here", "in/locked there", "new and locked", "open"}) {
        tree.file("original/" + sub + "/deeper/file");
        tree.link("original/" + sub + "/link", "file");
    }
    for (const std::string sub : {"in/Locked Here", "in/locked there", "open"})
        tree.file("backup/" + sub + "/deeper/.tw-a.twtmp");
    // The links in "locked there" were counted before its backup was asked for.
    EXPECT_EQ(
        planWithLocked(tree, {"original/in/locked here", "backup/in/locked there", "original/new and locked"}),
        text(sorted({"in/locked here" + ownUnreadable + "Permission denied",
                     "in/locked there" + backupUnreadable + "Permission denied",
                     "new and locked" + ownUnreadable + "Permission denied", "folder new and locked > new and locked",
                     "added open/deeper/file > open/deeper/file: 7@0", "temp open/deeper/.tw-a.twtmp", "links: 2"})));
}

TEST(PlannerUnreadable, TheTopOfTheBackupIsCalledByItsOwnName) {
    TestTree tree;
    tree.file("original/file");
    tree.dir("backup");
    EXPECT_EQ(planWithLocked(tree, {"backup"}), "backup" + backupUnreadable + "Permission denied\n");
}

TEST(PlannerUnreadable, ATimeoutIsOneDriveNotResponding) {
    TestTree tree;
    tree.file("original/file");
    tree.dir("backup");
    EXPECT_EQ(PlanUnderTest::inChild([&] {
                  Restricted::refuseCall(SYS_getdents64, ETIMEDOUT);
                  return text(told(planOf(tree / "original", tree / "backup")));
              }),
              "original" + ownUnreadable + "OneDrive didn't respond (it may still be downloading this folder)\n");
}

TEST(PlannerLinks, AreNeverFollowed) {
    TestTree tree;
    tree.file("elsewhere/file");
    tree.file("elsewhere/.tw-a.twtmp");
    tree.link("original/link to folder", "../elsewhere");
    tree.link("original/link to file", "../elsewhere/file");
    tree.link("original/sub/link to nothing", "nowhere");
    tree.link("original/loop", ".");
    tree.file("original/folder/file");
    tree.file("original/file");
    tree.link("backup/folder", "../elsewhere");
    tree.link("backup/file", "../elsewhere/file");
    // A link in OneDrive counts as nothing there; the copy is what finds it in the way.
    EXPECT_EQ(sorted(told(planOf(tree / "original", tree / "backup"))),
              sorted({"folder sub > sub", "folder folder > folder", "added folder/file > folder/file: 7@0",
                      "added file > file: 7@0", "links: 4"}));
}

TEST(PlannerLinks, AFolderThatBecomesOneDuringTheWalkIsNotReadAnyMore) {
    TestTree tree;
    for (const std::string number : {"1", "2", "3", "4"}) {
        tree.file("original/in/" + number + "/own");
        tree.file("elsewhere/" + number + "/foreign");
    }
    tree.dir("backup");
    bool swapped = false;
    const PairPlan plan = planOf(tree / "original", tree / "backup", [&] {
        if (std::exchange(swapped, true))
            return;
        fs::rename(tree / "original/in", tree / "aside");
        tree.link("original/in", "../elsewhere");
    });
    ASSERT_EQ(plan.copies.size(), 1U);
    EXPECT_TRUE(PairPlan::rel(plan.copies.front()).ends_with("/own"));
    EXPECT_EQ(plan.problems.size(), 3U);
}

TEST(PlannerCancel, EndsTheWalkAtOnce) {
    TestTree tree;
    for (const std::string file : {"1/file", "1/other", "1/deeper/file", "2/file", "2/other", "3/file"})
        tree.file("original/" + file);
    tree.dir("backup");
    for (const std::size_t last : {0U, 1U, 2U, 5U}) {
        CancelToken token;
        std::size_t files = 0;
        const auto cancelAtLast = [&] {
            if (files == last)
                token.cancel();
            ++files;
        };
        cancelAtLast();
        EXPECT_EQ(planOf(tree / "original", tree / "backup", cancelAtLast, token).copies.size(), last);
    }
}

TEST(PlannerNested, TheBackupFolderInsideTheOriginalIsNotEntered) {
    TestTree tree;
    tree.file("original/in/Backup/other/.tw-a.twtmp");
    EXPECT_EQ(told(planOf(tree / "original", tree / "original/in/Backup")),
              (Lines{"folder in > in", "folder in/Backup > in/Backup", "in/Backup" + backupItself}));
    EXPECT_EQ(told(planOf(tree / "original", tree / "original")), Lines{"original" + backupItself});
}

TEST(PlannerNested, OfMountsTheBackupFolderAloneIsNotEntered) {
    TestTree tree;
    for (const std::string folder : {"original/backup again", "original/other drive", "backup"})
        tree.dir(folder);
    const std::optional<std::string> plan = PlanUnderTest::inChild([&]() -> std::string {
        const auto mounted = [&](const char *from, const std::string &to, const char *type, unsigned long flags) {
            return ::mount(from, (tree / to).c_str(), type, flags, nullptr) == 0;
        };
        // In a mount table of its own, which ends with the process. The tops of two tmpfs have the same inode number.
        if (::unshare(CLONE_NEWNS) != 0 || ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
            !mounted("none", "backup", "tmpfs", 0) || !mounted("none", "original/other drive", "tmpfs", 0) ||
            !mounted((tree / "backup").c_str(), "original/backup again", nullptr, MS_BIND))
            return "no mount";
        tree.file("original/other drive/a");
        return text(sorted(told(planOf(tree / "original", tree / "backup"))));
    });
    if (plan == "no mount")
        GTEST_SKIP() << "needs the right to mount";
    EXPECT_EQ(plan, text({"added other drive/a > other drive/a: 7@0", "backup again" + backupItself,
                          "folder backup again > backup again", "folder other drive > other drive"}));
}

} // namespace

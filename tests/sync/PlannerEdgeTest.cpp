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
using PlanUnderTest::told;

const std::string ownUnreadable = ": couldn't read your folder of this folder, so it was skipped. ";
const std::string backupUnreadable = ": couldn't read the backup copy of this folder, so it was skipped. ";

/// The plan of "original" and "backup" in the tree as a user makes it who has no rights beyond the mode bits.
std::optional<std::string> plannedByOrdinaryUser(const TestTree &tree) {
    fs::permissions(tree.top(), fs::perms(0755));
    return PlanUnderTest::asOrdinaryUser(
        [&] { return PlanUnderTest::text(sorted(told(planOf(tree / "original", tree / "backup")))); });
}

/// Takes the rights to a folder away, and gives them back so that the tree can go.
class Locked {
  public:
    explicit Locked(const fs::path &path, fs::perms left = fs::perms::none) : folder(path) {
        fs::permissions(folder, left);
    }
    ~Locked() { fs::permissions(folder, fs::perms(0755)); }
    Locked(const Locked &) = delete;
    Locked &operator=(const Locked &) = delete;

  private:
    fs::path folder;
};

TEST(PlannerUnreadable, FoldersBelowAreProblemsAndTheirSiblingsGoOn) {
    TestTree tree;
    for (const std::string sub : {"in/locked here", "in/locked there", "new and locked", "open"}) {
        tree.file("original/" + sub + "/file");
        tree.file("original/" + sub + "/deeper/file");
        tree.link("original/" + sub + "/link", "file");
    }
    for (const std::string sub : {"in/Locked Here", "in/locked there", "open"}) {
        tree.file("backup/" + sub + "/.tw-a.twtmp");
        tree.file("backup/" + sub + "/deeper/.tw-b.twtmp");
    }
    const Locked here(tree / "original/in/locked here");
    const Locked there(tree / "backup/in/locked there");
    const Locked fresh(tree / "original/new and locked");
    // The links in "locked there" were counted before its backup was asked for.
    EXPECT_EQ(
        plannedByOrdinaryUser(tree),
        PlanUnderTest::text(sorted(
            {"in/locked here" + ownUnreadable + "Permission denied",
             "in/locked there" + backupUnreadable + "Permission denied",
             "new and locked" + ownUnreadable + "Permission denied", "folder new and locked > new and locked",
             "added open/file > open/file: 7@0", "added open/deeper/file > open/deeper/file: 7@0",
             "temp open/.tw-a.twtmp", "temp open/deeper/.tw-b.twtmp", "links: 2"})));
}

TEST(PlannerUnreadable, TheTwoTopFoldersAreCalledByTheirOwnNames) {
    for (const std::string side : {"original", "backup"}) {
        TestTree tree;
        tree.file("original/file");
        tree.file("backup/.tw-a.twtmp");
        const Locked locked(tree / side);
        EXPECT_EQ(plannedByOrdinaryUser(tree),
                  side + (side == "backup" ? backupUnreadable : ownUnreadable) + "Permission denied\n");
    }
}

TEST(PlannerUnreadable, AnItemThatCannotBeLookedAtLeavesNoTrace) {
    TestTree tree;
    tree.file("original/sub/file");
    tree.link("original/sub/link", "file");
    tree.dir("original/sub/folder");
    tree.file("original/whole");
    tree.dir("backup");
    const Locked namesOnly(tree / "original/sub", fs::perms(0444));
    EXPECT_EQ(plannedByOrdinaryUser(tree), "added whole > whole: 7@0\nfolder sub > sub\n");
}

TEST(PlannerUnreadable, TheErrorTellsTheReason) {
    const std::pair<int, std::string> rows[] = {
        {ETIMEDOUT, "OneDrive didn't respond (it may still be downloading this folder)"},
        {EIO, "Input/output error"}};
    for (const auto &[error, detail] : rows) {
        TestTree tree;
        tree.file("original/file");
        tree.dir("backup");
        const std::optional<std::string> plan = PlanUnderTest::inChild([&, code = error] {
            Restricted::refuseCall(SYS_getdents64, code);
            return PlanUnderTest::text(told(planOf(tree / "original", tree / "backup")));
        });
        EXPECT_EQ(plan, "original" + ownUnreadable + detail + '\n');
    }
}

TEST(PlannerLinks, AreNeverFollowed) {
    TestTree tree;
    tree.file("elsewhere/file", "of another tree");
    tree.file("elsewhere/.tw-a.twtmp");
    tree.link("original/link to folder", "../elsewhere");
    tree.link("original/link to file", "../elsewhere/file");
    tree.link("original/sub/link to nothing", "nowhere");
    tree.link("original/loop", ".");
    tree.file("original/folder/file");
    tree.file("original/file");
    tree.file("original/link in OneDrive alone");
    tree.link("backup/folder", "../elsewhere");
    tree.link("backup/file", "../elsewhere/file");
    tree.link("backup/FOLDER", "nowhere");
    // A link in OneDrive counts as nothing there; the copy is what finds it in the way.
    EXPECT_EQ(sorted(told(planOf(tree / "original", tree / "backup"))),
              sorted({"folder sub > sub", "folder folder > folder", "added folder/file > folder/file: 7@0",
                      "added file > file: 7@0", "added link in OneDrive alone > link in OneDrive alone: 7@0",
                      "links: 4"}));
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
    EXPECT_EQ(PairPlan::rel(plan.copies.front()),
              "in/" + PlanUnderTest::deliveryOrder(tree / "aside").front() + "/own");
    EXPECT_EQ(plan.problems.size(), 3U);
}

TEST(PlannerLinks, ATopFolderMayBeOne) {
    TestTree tree;
    tree.file("real/file");
    tree.link("original", "real");
    tree.file("real backup/file");
    tree.link("backup", "real backup");
    EXPECT_EQ(told(planOf(tree / "original", tree / "backup")), Lines{"up to date: 1"});
}

TEST(PlannerCancel, EndsTheWalkAtOnce) {
    TestTree tree;
    for (const std::string number : {"1", "2", "3", "4"}) {
        tree.file("original/" + number + "/file");
        tree.file("original/" + number + "/other");
        tree.file("original/" + number + "/deeper/file");
    }
    tree.dir("backup");
    for (const int last : {0, 1, 2, 5}) {
        CancelToken token;
        int files = 0;
        if (last == 0)
            token.cancel();
        const PairPlan plan = planOf(
            tree / "original", tree / "backup",
            [&] {
                if (++files == last)
                    token.cancel();
            },
            token);
        EXPECT_EQ(files, last);
        EXPECT_EQ(plan.copies.size(), static_cast<std::size_t>(last));
    }
}

TEST(PlannerCancel, BeforeTheStartReadsNothing) {
    TestTree tree;
    tree.dir("backup");
    CancelToken token;
    token.cancel();
    EXPECT_EQ(told(planOf(
                  tree / "missing", tree / "backup", [] {}, token)),
              Lines());
}

const std::string backupItself = ": this is the backup folder itself, so it was skipped";

TEST(PlannerNested, TheBackupFolderInsideTheOriginalIsNotEntered) {
    TestTree tree;
    tree.file("original/a");
    tree.file("original/in/Backup/file");
    tree.file("original/in/Backup/other/.tw-a.twtmp");
    EXPECT_EQ(sorted(told(planOf(tree / "original", tree / "original/in/Backup"))),
              sorted({"added a > a: 7@0", "folder in > in", "folder in/Backup > in/Backup",
                      "in/Backup" + backupItself}));
    EXPECT_EQ(told(planOf(tree / "original", tree / "original")), Lines{"original" + backupItself});
}

/// What this process mounts from now on is seen by no other and ends with it. False without the right to
/// mount.
bool makeOwnMountTable() {
    return ::unshare(CLONE_NEWNS) == 0 && ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
}

TEST(PlannerNested, ABindMountOfTheBackupFolderIsNotEntered) {
    TestTree tree;
    tree.file("original/a");
    tree.dir("original/mounted");
    tree.file("backup/b");
    const std::optional<std::string> plan = PlanUnderTest::inChild([&]() -> std::string {
        if (!makeOwnMountTable() || ::mount((tree / "backup").c_str(), (tree / "original/mounted").c_str(),
                                            nullptr, MS_BIND, nullptr) != 0)
            return "no mount";
        return PlanUnderTest::text(sorted(told(planOf(tree / "original", tree / "backup"))));
    });
    if (plan == "no mount")
        GTEST_SKIP() << "needs the right to mount";
    EXPECT_EQ(plan, "added a > a: 7@0\nfolder mounted > mounted\nmounted" + backupItself + '\n');
}

TEST(PlannerNested, AnotherFileSystemWithTheSameInodeNumberIsEntered) {
    TestTree tree;
    tree.dir("original/mounted");
    tree.dir("backup");
    const std::optional<std::string> plan = PlanUnderTest::inChild([&]() -> std::string {
        if (!makeOwnMountTable())
            return "no mount";
        for (const std::string folder : {"original/mounted", "backup"}) {
            if (::mount("none", (tree / folder).c_str(), "tmpfs", 0, nullptr) != 0)
                return "no mount";
        }
        tree.file("original/mounted/a");
        return PlanUnderTest::text(sorted(told(planOf(tree / "original", tree / "backup"))));
    });
    if (plan == "no mount")
        GTEST_SKIP() << "needs the right to mount";
    EXPECT_EQ(plan, "added mounted/a > mounted/a: 7@0\nfolder mounted > mounted\n");
}

} // namespace

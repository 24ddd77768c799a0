#include "base/FileDescriptor.h"
#include "support/Restricted.h"
#include "support/TestTree.h"
#include "sync/PlanUnderTest.h"

#include <cerrno>
#include <gtest/gtest.h>
#include <sched.h>

#include <fcntl.h>
#include <sys/mount.h>
#include <sys/stat.h>
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

TEST(PlannerNested, ABindMountOfTheBackupFolderIsNotEntered) {
    TestTree tree;
    tree.file("original/a");
    tree.dir("original/mounted");
    tree.file("backup/b");
    const std::optional<std::string> plan = PlanUnderTest::inChild([&]() -> std::string {
        // In a mount table of its own, so that nothing is left behind.
        if (::unshare(CLONE_NEWNS) != 0 || ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
            ::mount((tree / "backup").c_str(), (tree / "original/mounted").c_str(), nullptr, MS_BIND,
                    nullptr) != 0)
            return "no mount";
        return PlanUnderTest::text(sorted(told(planOf(tree / "original", tree / "backup"))));
    });
    if (plan == "no mount")
        GTEST_SKIP() << "needs the right to mount";
    EXPECT_EQ(plan, "added a > a: 7@0\nfolder mounted > mounted\nmounted" + backupItself + '\n');
}

/// Folders one in the other, with a file in the last; goes at the end of its life. Made and removed step by
/// step, because no single call takes a path of this length.
class Chain {
  public:
    Chain(const fs::path &top, std::string folderName, int folderCount)
        : name(std::move(folderName)), count(folderCount) {
        fs::create_directory(top);
        bottom.reset(::open(top.c_str(), O_PATH | O_DIRECTORY));
        for (int i = 0; i < count; ++i) {
            if (::mkdirat(bottom.get(), name.c_str(), 0755) != 0)
                throw std::system_error(errno, std::generic_category());
            bottom.reset(::openat(bottom.get(), name.c_str(), O_PATH | O_DIRECTORY));
        }
    }
    Chain(const Chain &) = delete;
    Chain &operator=(const Chain &) = delete;
    ~Chain() {
        ::unlinkat(bottom.get(), "file", 0);
        for (int i = 0; i < count; ++i) {
            bottom.reset(::openat(bottom.get(), "..", O_PATH | O_DIRECTORY));
            ::unlinkat(bottom.get(), name.c_str(), AT_REMOVEDIR);
        }
    }

    void addFile(std::string_view content, FileTime mtime) {
        const FileDescriptor file(::openat(bottom.get(), "file", O_WRONLY | O_CREAT, 0644));
        const timespec times[] = {mtime.toTimespec(), mtime.toTimespec()};
        if (::write(file.get(), content.data(), content.size()) < 0 || ::futimens(file.get(), times) != 0)
            throw std::system_error(errno, std::generic_category());
    }

    /// The relative path of the folder at this depth.
    std::string rel(int depth) const {
        std::string path = name;
        for (int i = 1; i < depth; ++i)
            path += '/' + name;
        return path;
    }

  private:
    std::string name;
    int count;
    FileDescriptor bottom;
};

std::ptrdiff_t openDescriptors() {
    return std::distance(fs::directory_iterator("/proc/self/fd"), fs::directory_iterator());
}

std::string repeated(const std::string &text, int times) {
    std::string result;
    for (int i = 0; i < times; ++i)
        result += text;
    return result;
}

struct DepthRow {
    const char *situation;
    std::string name;
    std::string backupName;
    int depth;
};

void PrintTo(const DepthRow &row, std::ostream *out) {
    *out << row.situation;
}

class PlannerDepthTest : public testing::TestWithParam<DepthRow> {};

TEST_P(PlannerDepthTest, PlansToTheBottomWithFewDescriptors) {
    const auto &[situation, name, backupName, depth] = GetParam();
    TestTree tree;
    Chain original(tree / "original", name, depth);
    original.addFile("new", someTime);
    const std::string file = original.rel(depth) + "/file";
    const std::ptrdiff_t before = openDescriptors();
    std::ptrdiff_t during = 0;
    const PairPlan first = planOf(tree / "original", tree / "missing", [&] { during = openDescriptors(); });
    EXPECT_LE(during, before + 4) << situation;

    Lines expected = {"folder  > "};
    for (int i = 1; i <= depth; ++i)
        expected.push_back("folder " + original.rel(i) + " > " + original.rel(i));
    expected.push_back("added " + file + " > " + file + ": 3@0");
    // Not EXPECT_EQ: in case of a failure it would print megabytes.
    EXPECT_TRUE(told(first) == expected) << situation;

    Chain backup(tree / "backup", backupName, depth);
    backup.addFile("older", later(someTime, -9));
    const PairPlan second = planOf(tree / "original", tree / "backup", [&] { during = openDescriptors(); });
    EXPECT_LE(during, before + 6) << situation;
    EXPECT_TRUE(told(second) == Lines{"updated " + file + " > " + backup.rel(depth) + "/file: 3@0 over 5@-9"})
        << situation;
}

INSTANTIATE_TEST_SUITE_P(Trees, PlannerDepthTest,
                         testing::Values(DepthRow{"2,000 folders deep", "d", "D", 2000},
                                         DepthRow{"names of 255 bytes", std::string(255, 'n'),
                                                  std::string(255, 'N'), 40},
                                         DepthRow{"names of 255 bytes in three-byte letters",
                                                  repeated("\uFF41", 85), repeated("\uFF21", 85), 40}));

} // namespace

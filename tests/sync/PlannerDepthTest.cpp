#include "base/FileDescriptor.h"
#include "support/TestTree.h"
#include "sync/PlanUnderTest.h"

#include <cerrno>
#include <gtest/gtest.h>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>

namespace {

using PlanUnderTest::Lines;
using PlanUnderTest::planOf;
using PlanUnderTest::told;

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

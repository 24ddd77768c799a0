#include "base/FileDescriptor.h"
#include "support/TestTree.h"
#include "sync/PlanUnderTest.h"

#include <cstdlib>
#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>

namespace {

using PlanUnderTest::Lines;
using PlanUnderTest::planOf;
using PlanUnderTest::told;

/// Makes folders one in the other, with a file in the last; step by step, because no single call takes a path of this
/// length.
void makeChain(const fs::path &top, const std::string &name, int depth, std::string_view content, FileTime mtime) {
    fs::create_directory(top);
    FileDescriptor folder(::open(top.c_str(), O_PATH | O_DIRECTORY));
    for (int i = 0; i < depth; ++i) {
        ASSERT_EQ(::mkdirat(folder.get(), name.c_str(), 0755), 0);
        folder.reset(::openat(folder.get(), name.c_str(), O_PATH | O_DIRECTORY));
    }
    const FileDescriptor file(::openat(folder.get(), "file", O_WRONLY | O_CREAT, 0644));
    const timespec times[] = {mtime.toTimespec(), mtime.toTimespec()};
    ASSERT_EQ(::write(file.get(), content.data(), content.size()), std::ssize(content));
    ASSERT_EQ(::futimens(file.get(), times), 0);
}

std::ptrdiff_t openDescriptors() {
    return std::distance(fs::directory_iterator("/proc/self/fd"), fs::directory_iterator());
}

TEST(PlannerDepth, AFirstSyncAndAnUpdateReachTheBottomWithFewDescriptors) {
    // The second path is too long for any call.
    for (const auto &[depth, length] : {std::pair(2000, 1U), std::pair(40, 255U)}) {
        const std::string name(length, 'n');
        const std::string backupName(length, 'N');
        TestTree tree;
        makeChain(tree / "original", name, depth, "new", someTime);
        std::string path;
        std::string backupPath;
        Lines expected = {"folder  > "};
        for (int i = 0; i < depth; ++i) {
            path += (i == 0 ? "" : "/") + name;
            backupPath += (i == 0 ? "" : "/") + backupName;
            expected.push_back("folder " + path + " > " + path);
        }
        expected.push_back("added " + path + "/file > " + path + "/file: 3@0");
        const std::ptrdiff_t most = openDescriptors() + 6;
        const auto expectFewDescriptors = [&] { EXPECT_LE(openDescriptors(), most); };
        // Not EXPECT_EQ: in case of a failure it would print megabytes.
        EXPECT_TRUE(told(planOf(tree / "original", tree / "missing", expectFewDescriptors)) == expected) << depth;

        makeChain(tree / "backup", backupName, depth, "older", later(someTime, -9));
        EXPECT_TRUE(told(planOf(tree / "original", tree / "backup", expectFewDescriptors)) ==
                    Lines{"updated " + path + "/file > " + backupPath + "/file: 3@0 over 5@-9"})
            << depth;
        // The tree's own way of going needs a descriptor for each level.
        EXPECT_EQ(std::system(("rm -rf '" + tree.top().native() + "'/*").c_str()), 0);
    }
}

} // namespace

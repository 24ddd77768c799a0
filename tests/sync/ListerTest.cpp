#include "sync/Lister.h"

#include "base/FileDescriptor.h"
#include "support/TestTree.h"
#include "sync/PlanUnderTest.h"

#include <gtest/gtest.h>
#include <set>

#include <fcntl.h>
#include <sys/stat.h>

namespace {

using PlanUnderTest::Lines;
using PlanUnderTest::sorted;

struct Listed {
    Lines entries; // "name size seconds.nanoseconds", with "/" behind a folder's name
    Lines staleTemps;
    std::int64_t links = 0;
};

Listed listed(const fs::path &folder) {
    const FileDescriptor open(::open(folder.c_str(), O_RDONLY | O_DIRECTORY));
    Listed result;
    const Listing listing = Lister::list(open.get(), result.links, result.staleTemps);
    for (std::size_t i = 0; i < listing.size(); ++i) {
        const Entry entry = listing.at(i);
        result.entries.push_back(std::string(entry.name) + (entry.isDir ? "/ " : " ") + std::to_string(entry.size) +
                                 ' ' + std::to_string(entry.mtime.seconds) + '.' +
                                 std::to_string(entry.mtime.nanoseconds));
    }
    return result;
}

TEST(Lister, TellsFilesAndFoldersAndDropsTheRest) {
    TestTree tree;
    tree.file("empty.txt", "", {0, 0});
    tree.file("before 1970", "x", {-2, 750'000'000});
    tree.file("Names STAY \xFF", "xy", {1, 999'999'999});
    tree.sparseFile("large", std::int64_t{5} << 32, {4'000'000'000, 1});
    tree.dir("folder");
    tree.setTime("folder", {2, 0});
    for (const char *name : {".DS_Store", "~$report.docx", "Icon\r", ".tw-abcdef123456.twtmp", "notes.TWTMP"})
        tree.file(name);
    for (const char *name : {"link", ".hidden link", "~$link", ".tw-link.twtmp"})
        tree.link(name, "empty.txt");
    tree.link("link to a folder", "/");
    tree.link("link to nothing", "nowhere");
    tree.dir(".tw-folder.twtmp");
    tree.dir("$RECYCLE.BIN");
    ASSERT_EQ(::mkfifo((tree / "pipe").c_str(), 0600), 0);
    const Listed result = listed(tree.top());
    EXPECT_EQ(sorted(result.entries), (Lines{"Names STAY \xFF 2 1.999999999", "before 1970 1 -2.750000000",
                                             "empty.txt 0 0.0", "folder/ 0 2.0", "large 21474836480 4000000000.1"}));
    EXPECT_EQ(result.links, 3) << "links that an earlier rule drops don't count";
    EXPECT_EQ(sorted(result.staleTemps), (Lines{".tw-abcdef123456.twtmp", ".tw-folder.twtmp", ".tw-link.twtmp"}));
}

TEST(Lister, FindsMoreThanOneReadOfTheFolderTakes) {
    TestTree tree;
    for (int i = 0; i < 3000; ++i)
        tree.file(std::to_string(i) + std::string(40, 'n'), "");
    const Lines entries = listed(tree.top()).entries;
    EXPECT_EQ(entries.size(), 3000U);
    EXPECT_EQ(std::set<std::string>(entries.begin(), entries.end()).size(), 3000U);
}

} // namespace

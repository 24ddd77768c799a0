#include "sync/Lister.h"

#include "base/FileDescriptor.h"
#include "support/TestTree.h"
#include "sync/PlanUnderTest.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>

namespace {

using PlanUnderTest::Lines;
using PlanUnderTest::sorted;

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
    const FileDescriptor folder(::open(tree.top().c_str(), O_RDONLY | O_DIRECTORY));
    Lines staleTemps;
    std::int64_t links = 0;
    const Listing listing = Lister::list(folder.get(), links, staleTemps);
    Lines entries; // "name size seconds.nanoseconds", with "/" behind a folder's name
    for (std::size_t i = 0; i < listing.size(); ++i) {
        const auto &[name, isDir, size, mtime] = listing.at(i);
        entries.push_back(std::string(name) + (isDir ? "/ " : " ") + std::to_string(size) + ' ' +
                          std::to_string(mtime.seconds) + '.' + std::to_string(mtime.nanoseconds));
    }
    EXPECT_EQ(sorted(entries), (Lines{"Names STAY \xFF 2 1.999999999", "before 1970 1 -2.750000000", "empty.txt 0 0.0",
                                      "folder/ 0 2.0", "large 21474836480 4000000000.1"}));
    EXPECT_EQ(links, 3) << "links that an earlier rule drops don't count";
    EXPECT_EQ(sorted(staleTemps), (Lines{".tw-abcdef123456.twtmp", ".tw-folder.twtmp", ".tw-link.twtmp"}));
}

} // namespace

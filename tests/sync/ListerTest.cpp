#include "sync/Lister.h"

#include "base/FileDescriptor.h"
#include "support/TestTree.h"
#include "sync/PlanUnderTest.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <system_error>

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

namespace {

using PlanUnderTest::Lines;

struct Listed {
    Lines entries; // "name size seconds" or "name/ size seconds", in the order of the listing
    Lines names;
    Lines staleTemps;
    std::int64_t links = 0;
};

Listed listed(const fs::path &folder) {
    const FileDescriptor open(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    Listed result;
    const Listing listing = Lister::list(open.get(), result.links, result.staleTemps);
    for (std::size_t i = 0; i < listing.size(); ++i) {
        const Entry entry = listing.at(i);
        result.names.emplace_back(entry.name);
        result.entries.push_back(result.names.back() + (entry.isDir ? "/ " : " ") +
                                 std::to_string(entry.size) + ' ' + std::to_string(entry.mtime.seconds) +
                                 '.' + std::to_string(entry.mtime.nanoseconds));
    }
    return result;
}

TEST(Lister, DropsEverythingThatTakesNoPart) {
    TestTree tree;
    for (const char *name : {"a.txt", ".DS_Store", "._a.txt", "~$report.docx", "~WRL0001.tmp", "Thumbs.db",
                             "desktop.ini", "Icon\r", ".tw-abcdef123456.twtmp", "notes.TWTMP", ".tw-abc.txt"})
        tree.file(name, "seven b");
    tree.link("link", "a.txt");
    tree.link("broken", "nowhere");
    tree.link("link to a folder", "/");
    tree.link(".hidden link", "a.txt");
    tree.link("~$link", "a.txt");
    tree.link(".tw-link.twtmp", "a.txt");
    tree.dir(".tw-folder.twtmp");
    tree.dir(".hidden");
    tree.dir("$RECYCLE.BIN");
    const Listed result = listed(tree.top());
    EXPECT_EQ(result.entries, Lines{"a.txt 7 1600000000.0"});
    EXPECT_EQ(result.links, 3) << "links that an earlier rule drops don't count";
    EXPECT_EQ(PlanUnderTest::sorted(result.staleTemps),
              (Lines{".tw-abcdef123456.twtmp", ".tw-folder.twtmp", ".tw-link.twtmp"}));
}

TEST(Lister, TellsWhatEntriesAre) {
    TestTree tree;
    tree.file("empty.txt", "", {0, 0});
    tree.file("before 1970", "x", {-2, 750'000'000});
    tree.file("Names STAY \xFF", "xy", {1, 999'999'999});
    tree.sparseFile("large", std::int64_t{5} << 32, {4'000'000'000, 1});
    tree.dir("folder");
    tree.setTime("folder", {2, 0});
    EXPECT_EQ(PlanUnderTest::sorted(listed(tree.top()).entries),
              (Lines{"Names STAY \xFF 2 1.999999999", "before 1970 1 -2.750000000", "empty.txt 0 0.0",
                     "folder/ 0 2.0", "large 21474836480 4000000000.1"}));
}

TEST(Lister, DropsWhatIsNeitherFileNorFolder) {
    TestTree tree;
    tree.file("file", "x");
    ASSERT_EQ(::mkfifo((tree / "pipe").c_str(), 0600), 0);
    const FileDescriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_un address = {AF_UNIX, {}};
    (tree / "socket").native().copy(address.sun_path, sizeof address.sun_path - 1);
    ASSERT_EQ(::bind(socket.get(), reinterpret_cast<const sockaddr *>(&address), sizeof address), 0);
    const Listed result = listed(tree.top());
    EXPECT_EQ(result.names, Lines{"file"});
    EXPECT_EQ(result.links, 0);
}

TEST(Lister, KeepsTheOrderOfDelivery) {
    TestTree tree;
    // More than one read of the folder takes; made in an order that is neither sorted nor reversed.
    for (int i = 0; i < 3000; ++i)
        tree.file(std::to_string(i * 7919 % 3000) + std::string(40, 'n'), "");
    const Lines delivered = PlanUnderTest::deliveryOrder(tree.top());
    ASSERT_EQ(delivered.size(), 3000U);
    EXPECT_EQ(listed(tree.top()).names, delivered);
}

TEST(Lister, AnEmptyFolderIsAnEmptyList) {
    TestTree tree;
    const Listed result = listed(tree.top());
    EXPECT_TRUE(result.entries.empty());
    EXPECT_TRUE(result.staleTemps.empty());
    EXPECT_EQ(result.links, 0);
}

TEST(Lister, AddsToTheCallersCounts) {
    TestTree tree;
    tree.link("link", "x");
    tree.file(".tw-a.twtmp");
    const FileDescriptor open(::open(tree.top().c_str(), O_RDONLY | O_DIRECTORY));
    std::int64_t links = 5;
    Lines temporaries = {"earlier"};
    Lister::list(open.get(), links, temporaries);
    EXPECT_EQ(links, 6);
    EXPECT_EQ(temporaries, (Lines{"earlier", ".tw-a.twtmp"}));
}

TEST(Lister, FailsForWhatCannotBeListedAndCountsNothing) {
    TestTree tree;
    tree.file("file");
    tree.dir("removed");
    tree.link("removed/link", "x");
    const std::pair<fs::path, int> rows[] = {
        {tree / "missing", EBADF}, {tree / "file", ENOTDIR}, {tree / "removed", ENOENT}};
    for (const auto &[path, error] : rows) {
        const FileDescriptor open(::open(path.c_str(), O_RDONLY));
        if (path.filename() == "removed")
            fs::remove_all(path);
        std::int64_t links = 1;
        Lines temporaries;
        try {
            Lister::list(open.get(), links, temporaries);
            ADD_FAILURE() << path << " was listed";
        } catch (const std::system_error &failure) {
            EXPECT_EQ(failure.code(), std::error_code(error, std::generic_category())) << path;
        }
        EXPECT_EQ(links, 1);
        EXPECT_TRUE(temporaries.empty());
    }
}

TEST(Lister, AnItemThatCannotBeLookedAtLeavesNoTrace) {
    TestTree tree;
    tree.file("names only/file");
    tree.link("names only/link", "file");
    tree.file("names only/.tw-a.twtmp");
    fs::permissions(tree.top(), fs::perms(0755));
    // Without the right to search a folder its names can be read and nothing else.
    fs::permissions(tree / "names only", fs::perms(0444));
    const auto result = PlanUnderTest::asOrdinaryUser([&] {
        const Listed seen = listed(tree / "names only");
        return PlanUnderTest::text(seen.names) + std::to_string(seen.links) + ' ' +
               PlanUnderTest::text(seen.staleTemps);
    });
    fs::permissions(tree / "names only", fs::perms(0755));
    EXPECT_EQ(result, "0 .tw-a.twtmp\n");
}

} // namespace

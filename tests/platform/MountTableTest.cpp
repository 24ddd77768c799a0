#include "platform/MountTable.h"

#include <gtest/gtest.h>

#include <sys/sysmacros.h>

namespace {

struct LineRow {
    const char *situation;
    const char *text;
    std::vector<MountEntry> expected;
};

class MountLine : public testing::TestWithParam<LineRow> {};

TEST_P(MountLine, IsRead) {
    EXPECT_EQ(MountTable::parse(GetParam().text).entries(), GetParam().expected);
}

std::string situationOf(const testing::TestParamInfo<LineRow> &row) {
    return row.param.situation;
}

const MountEntry stick = {36, 25, makedev(8, 17), "/", "/media/ann/STICK", "vfat", "/dev/sdb1"};

INSTANTIATE_TEST_SUITE_P(
    Lines, MountLine,
    testing::Values(
        LineRow{
            "OneOptionalField", "36 25 8:17 / /media/ann/STICK rw shared:12 - vfat /dev/sdb1 rw\n", {stick}},
        LineRow{"NoOptionalField", "36 25 8:17 / /media/ann/STICK rw - vfat /dev/sdb1 rw\n", {stick}},
        LineRow{"ThreeOptionalFields",
                "36 25 8:17 / /media/ann/STICK rw shared:1 master:2 unbindable - vfat /dev/sdb1 rw\n",
                {stick}},
        LineRow{"NoSuperOptionsAndNoLineFeed", "36 25 8:17 / /media/ann/STICK rw - vfat /dev/sdb1", {stick}},
        LineRow{"Escapes",
                R"(1 2 7:0 /a\040b /mnt/a\040\011\012\134040z - - fuse.x\040y \134\134srv\040 rw)",
                {{1, 2, makedev(7, 0), "/a b", "/mnt/a \t\n\\040z", "fuse.x y", R"(\\srv )"}}},
        LineRow{"NearMissesOfAnEscape",
                R"(1 2 7:0 / /mnt/\04 rw - ext4 a\0488\ rw)",
                {{1, 2, makedev(7, 0), "/", R"(/mnt/\04)", "ext4", R"(a\0488\)"}}},
        LineRow{"OctalAboveAscii",
                R"(1 2 7:0 / /mnt/B\303\274cher rw - ext4 /dev/loop0 rw)",
                {{1, 2, makedev(7, 0), "/", "/mnt/Bücher", "ext4", "/dev/loop0"}}},
        LineRow{"DashAsMountPointAndOption",
                "1 2 0:9 / - - - tmpfs - rw",
                {{1, 2, makedev(0, 9), "/", "-", "tmpfs", "-"}}},
        LineRow{"LargeDeviceNumbers",
                "1 2 259:1048575 / /mnt/x rw - ext4 /dev/nvme0n1p1 rw",
                {{1, 2, makedev(259, 1048575), "/", "/mnt/x", "ext4", "/dev/nvme0n1p1"}}},
        LineRow{"JunkBetweenGoodLines",
                "\n"
                "36 25 8:17 / /media/ann/STICK rw - vfat /dev/sdb1 rw\n"
                "no mount at all\n"
                "36 25 8:17 / /media/ann/STICK rw\n"
                "36 25 8:17 / /media/ann/STICK rw vfat /dev/sdb1 rw\n"
                "36 25 8:17 / /media/ann/STICK rw - vfat\n"
                "36 25 8-17 / /media/ann/STICK rw - vfat /dev/sdb1 rw\n"
                "36 25 8:x / /media/ann/STICK rw - vfat /dev/sdb1 rw\n"
                "36 25 :17 / /media/ann/STICK rw - vfat /dev/sdb1 rw\n"
                "3six 25 8:17 / /media/ann/STICK rw - vfat /dev/sdb1 rw\n"
                "99999999999 25 8:17 / /media/ann/STICK rw - vfat /dev/sdb1 rw\n"
                "36 25 8:17 / /media/ann/STICK rw - vfat /dev/sdb1 rw\n",
                {stick, stick}},
        LineRow{"Empty", "", {}}),
    situationOf);

/// Mounts of the given ids and places, in this order.
MountTable tableOf(const std::vector<std::pair<int, std::string>> &mounts) {
    std::string text;
    for (const auto &[id, place] : mounts)
        text += std::to_string(id) + " 1 8:" + std::to_string(id) + " / " + place + " rw - ext4 /dev/x rw\n";
    return MountTable::parse(text);
}

TEST(MountTable, CoveringIsTheInnermostAndAmongEqualOnesTheLatest) {
    const MountTable table = tableOf({{1, "/"}, {2, "/mnt/a"}, {3, "/mnt/a/b"}, {4, "/mnt/a"}, {5, "/home"}});
    const std::pair<const char *, int> rows[] = {
        {"/", 1},        {"/etc/x", 1},     {"/mnt/a", 4},    {"/mnt/a/c", 4}, {"/mnt/ab", 1},
        {"/mnt/a/b", 3}, {"/mnt/a/b/c", 3}, {"/mnt/a/bc", 4}, {"/mnt", 1},     {"/home/u", 5},
    };
    for (const auto &[path, id] : rows) {
        const MountEntry *entry = table.covering(path);
        EXPECT_EQ(entry ? entry->id : 0, id) << path;
    }
    EXPECT_EQ(MountTable().covering("/mnt/a"), nullptr);
    EXPECT_EQ(tableOf({{2, "/mnt/a"}}).covering("/mnt/b"), nullptr);
}

TEST(MountTable, AMountIsReachableUntilALaterOneCoversItsPlace) {
    const MountTable table = tableOf({{1, "/"},
                                      {2, "/mnt/same"},
                                      {3, "/mnt/same"},
                                      {4, "/media/u/x"},
                                      {5, "/media/u"},
                                      {6, "/media/u/xy"},
                                      {7, "/mnt/same/in"}});
    std::vector<int> reachable;
    for (const MountEntry &entry : table.entries()) {
        if (table.isReachable(entry))
            reachable.push_back(entry.id);
    }
    EXPECT_EQ(reachable, (std::vector<int>{1, 3, 5, 6, 7}));
    EXPECT_FALSE(MountTable().isReachable(table.entries().front()));
}

TEST(MountTable, WithIdFindsExactlyThatMount) {
    const MountTable table = tableOf({{1, "/"}, {20, "/a"}, {3, "/b"}});
    EXPECT_EQ(table.withId(20), &table.entries()[1]);
    EXPECT_EQ(table.withId(2), nullptr);
}

TEST(MountTable, TheKernelsTableHoldsTheRootFolder) {
    const MountTable table = MountTable::read();
    ASSERT_NE(table.covering("/"), nullptr);
    EXPECT_EQ(table.covering("/")->mountPoint, "/");
    EXPECT_EQ(table.withId(table.covering("/")->id), table.covering("/"));
}

TEST(MountTable, OnlyTheFatDriversAreCalledMsdos) {
    const std::pair<const char *, const char *> rows[] = {
        {"vfat", "msdos"}, {"fuse.fusefat", "msdos"}, {"msdos", "msdos"}, {"exfat", "exfat"},
        {"ext4", "ext4"},  {"fuseblk", "fuseblk"},    {"vfatx", "vfatx"}, {"fuse.exfat", "fuse.exfat"},
    };
    for (const auto &[type, name] : rows) {
        MountEntry entry;
        entry.type = type;
        EXPECT_EQ(fileSystemTypeName(entry), name);
    }
}

TEST(MountTable, LocalStorageLeavesOutNetworksAndTheKernelsOwn) {
    for (const char *type : {"ext4", "xfs", "btrfs", "vfat", "exfat", "ntfs3", "fuseblk", "fuse.fusefat",
                             "tmpfs", "udf", "iso9660", "hfsplus", "overlay", "fuse"})
        EXPECT_TRUE(isLocalStorage(type)) << type;
    for (const char *type :
         {"nfs", "nfs4", "cifs", "smb3", "9p", "ceph", "fuse.sshfs", "fuse.rclone", "fuse.gvfsd-fuse", "proc",
          "sysfs", "devtmpfs", "autofs", "cgroup2", "fuse.portal"})
        EXPECT_FALSE(isLocalStorage(type)) << type;
}

} // namespace

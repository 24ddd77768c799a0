#include "platform/MountTable.h"

#include <gtest/gtest.h>

#include <sys/sysmacros.h>

namespace {

const MountEntry stick = {36, 25, makedev(8, 17), "/", "/media/ann/STICK", "vfat", "/dev/sdb1"};

TEST(MountTable, Lines) {
    const std::pair<const char *, std::vector<MountEntry>> rows[] = {
        {"36 25 8:17 / /media/ann/STICK rw shared:1 master:2 - vfat /dev/sdb1 rw\n", {stick}},
        {"36 25 8:17 / /media/ann/STICK rw - vfat /dev/sdb1", {stick}},
        {R"(1 2 7:0 / /mnt/a\040\134040B\303\274\04 rw - ext4 a\0488\ rw)",
         {{1, 2, makedev(7, 0), "/", R"(/mnt/a \040Bü\04)", "ext4", R"(a\0488\)"}}},
        {"no mount at all\n\n"
         "36 25 8:17 / /media/ann/STICK rw vfat /dev/sdb1 rw\n"
         "36 25 8:17 / /media/ann/STICK rw - vfat\n"
         "36 25 8-17 / /media/ann/STICK rw - vfat /dev/sdb1 rw\n"
         "3six 25 8:x / /media/ann/STICK rw - vfat /dev/sdb1 rw\n"
         "36 25 8:17 / /media/ann/STICK rw - vfat /dev/sdb1 rw\n",
         {stick}},
    };
    for (const auto &[text, expected] : rows)
        EXPECT_EQ(MountTable::parse(text).entries(), expected) << text;
}

} // namespace

#include "store/Locations.h"

#include "base/Text.h"
#include "store/TestRoot.h"
#include "support/TestTree.h"

#include <gtest/gtest.h>

namespace {

class LocationsInATestRoot : public testing::Test {
  protected:
    LocationsInATestRoot() { TestRoot::set(TestRoot::prepare(tree / "root")); }
    ~LocationsInATestRoot() override { TestRoot::set(std::nullopt); }

    fs::path home() const { return tree / "root/Home"; }
    fs::path volumes() const { return tree / "root/Volumes"; }
    VolumeInfo drive(const std::string &name) const {
        return {
            .url = volumes() / name, .name = Text::fromBytes(name), .fsType = Locations::fileSystemType(tree.top())};
    }
    VolumeInfo thisMac() const {
        return {.url = home(),
                .name = QStringLiteral("This Mac"),
                .uuid = QStringLiteral("this-mac-home"),
                .fsType = Locations::fileSystemType(tree.top())};
    }

    TestTree tree;
};

TEST_F(LocationsInATestRoot, DrivesAreTheVisibleFoldersInVolumes) {
    tree.dir("root/Volumes/Disk 10/inside");
    tree.dir("root/Volumes/disk 2");
    tree.dir("root/Volumes/.hidden");
    tree.file("root/Volumes/file");
    EXPECT_EQ(Locations::externalVolumes(), (std::vector{drive("disk 2"), drive("Disk 10")}));
    EXPECT_EQ(Locations::volumeInfo(volumes() / "x/.././disk 2/"), drive("disk 2"));
    EXPECT_EQ(Locations::volumeInfo(volumes() / "Disk 10/inside"), std::nullopt);
}

TEST_F(LocationsInATestRoot, OneDriveFoldersInPreferenceOrder) {
    for (const char *folder :
         {"OneDrive", "OneDrive-team 10", "OneDrive-Team 9", "OneDrive-Alpha (2)", "onedrive-small"})
        tree.dir(std::string("root/Home/") + folder);
    for (const char *folder : {"OneDrive-Old (15-09-2026 1:22 PM)", "OneDrive-TestCorp", "Dropbox", ".OneDrive-hidden"})
        tree.dir(std::string("root/Home/Library/CloudStorage/") + folder);
    tree.file("root/Home/OneDrive-stray-file.txt");
    tree.link("root/Home/OneDrive-link", "OneDrive");
    std::vector<std::string> found;
    for (const fs::path &root : Locations::oneDriveRoots())
        found.push_back(root.lexically_relative(home()));
    EXPECT_EQ(found, (std::vector<std::string>{"OneDrive", "OneDrive-Team 9", "OneDrive-team 10",
                                               "Library/CloudStorage/OneDrive-TestCorp", "OneDrive-Alpha (2)",
                                               "Library/CloudStorage/OneDrive-Old (15-09-2026 1:22 PM)"}));
}

TEST_F(LocationsInATestRoot, RelativePath) {
    tree.dir("real/a/b");
    tree.link("link", "real");
    struct Row {
        const char *situation;
        std::string url;
        std::string base;
        std::optional<QString> expected;
    };
    const Row rows[] = {
        {"below, in other case", "/m/BÜCHER/Ä", "/m/bücher", QStringLiteral("Ä")},
        {"itself", "/m/drive/", "/m/drive", QString()},
        {"only the name begins alike", "/m/drive2/a", "/m/drive", std::nullopt},
        {"after standardising", "/m/x/.././drive//a", "/m/drive/", QStringLiteral("a")},
        {"through a link", tree / "link/a/b", tree / "real", QStringLiteral("a/b")},
        {"base through a link", tree / "real/a/none", tree / "link/a", QStringLiteral("none")},
    };
    for (const Row &row : rows)
        EXPECT_EQ(Locations::relativePath(row.url, row.base), row.expected) << row.situation;
}

TEST_F(LocationsInATestRoot, VolumeIsTheInnermostDriveElseThisMac) {
    const std::vector<VolumeInfo> drives = {{.url = "/m/Outer"}, {.url = "/m/Outer/in/Inner"}, {.url = "/m/OUTER"}};
    const std::pair<fs::path, std::optional<VolumeInfo>> rows[] = {
        {"/m/Outer/in/Inner2", drives[0]},     {"/M/OUTER/a", drives[0]},          {"/m/Outer/in/inner/a", drives[1]},
        {"/m/Outer2/a", std::nullopt},         {home() / "none/below", thisMac()}, {home(), std::nullopt},
        {tree / "root/Homework", std::nullopt}};
    for (const auto &[url, expected] : rows)
        EXPECT_EQ(Locations::volume(url, drives), expected) << url;
}

TEST_F(LocationsInATestRoot, ResolveOriginal) {
    tree.dir("root/Volumes/first");
    tree.dir("root/Volumes/second/Photos");
    tree.file("root/Volumes/first/Photos");
    const auto uuid = QStringLiteral("5A1F-33C0");
    const auto disk = QStringLiteral("Disk");
    const auto photos = QStringLiteral("Photos");
    const std::vector<VolumeInfo> drives = {{.url = volumes() / "first", .name = disk},
                                            {.url = volumes() / "second", .name = disk, .uuid = QStringLiteral("B")},
                                            {.url = volumes() / "none", .name = QStringLiteral("Other"), .uuid = uuid}};
    struct Row {
        const char *situation;
        std::optional<QString> uuid;
        QString name;
        QString relative;
        std::string expected;
    };
    const Row rows[] = {
        {"home, existing or not", QStringLiteral("this-mac-home"), disk, photos, home() / "Photos"},
        {"by UUID, existing or not", uuid, disk, photos, volumes() / "none/Photos"},
        {"a stored path from the top", uuid, disk, QStringLiteral("/etc"), volumes() / "none" += "//etc"},
        {"by name, where the folder exists", std::nullopt, disk, photos, volumes() / "second/Photos"},
        {"no drive has the UUID", QStringLiteral("C"), disk, photos, volumes() / "second/Photos"},
        {"by name, the first of two", std::nullopt, disk, QString(), volumes() / "first"},
        {"by name, but nowhere there", std::nullopt, disk, QStringLiteral("none"), ""},
        {"the name in other case", std::nullopt, disk.toLower(), photos, ""},
    };
    for (const Row &row : rows) {
        const FolderPair pair = {.volumeUUID = row.uuid, .volumeName = row.name, .sourceRelPath = row.relative};
        const auto resolved = Locations::resolveOriginal(pair, drives);
        EXPECT_EQ(resolved ? resolved->folder.native() : "", row.expected) << row.situation;
    }
}

} // namespace

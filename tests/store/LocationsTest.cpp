#include "store/Locations.h"

#include "base/Text.h"
#include "store/TestRoot.h"
#include "support/Restricted.h"
#include "support/TestTree.h"

#include <cstdlib>
#include <gtest/gtest.h>

#include <sys/stat.h>

namespace {

using Names = std::vector<std::string>;

class LocationsInATestRoot : public testing::Test {
  protected:
    LocationsInATestRoot() { TestRoot::set(TestRoot::prepare(tree / "root")); }
    ~LocationsInATestRoot() override { TestRoot::set(std::nullopt); }

    fs::path home() const { return tree / "root/Home"; }
    fs::path volumes() const { return tree / "root/Volumes"; }
    VolumeInfo drive(const std::string &name) const {
        return {.url = volumes() / name,
                .name = Text::fromBytes(name),
                .fsType = Locations::fileSystemType(tree.top())};
    }
    VolumeInfo thisMac() const {
        return {.url = home(),
                .name = QStringLiteral("This Mac"),
                .uuid = QStringLiteral("this-mac-home"),
                .fsType = Locations::fileSystemType(tree.top())};
    }

    TestTree tree;
};

TEST_F(LocationsInATestRoot, HomeAndCacheComeFromInside) {
    ::setenv("XDG_CACHE_HOME", "/somewhere/else", 1);
    EXPECT_EQ(Locations::homeURL(), home());
    EXPECT_EQ(Locations::cacheFolder(), home() / ".cache");
    TestRoot::set(std::nullopt);
    EXPECT_EQ(Locations::cacheFolder(), "/somewhere/else");
    ::unsetenv("XDG_CACHE_HOME");
    EXPECT_EQ(Locations::cacheFolder(), Locations::homeURL() / ".cache");
}

TEST_F(LocationsInATestRoot, TildePathComparesPlainText) {
    const std::string top = home().native();
    const std::pair<std::string, std::string> rows[] = {
        {top, "~"},
        {top + "/Photos/a", "~/Photos/a"},
        {top + "r/x", "~r/x"},
        {top.substr(0, top.size() - 1), top.substr(0, top.size() - 1)},
        {"/x" + top, "/x" + top},
        {volumes() / "Disk", volumes() / "Disk"},
        {tree / "root/home/a", tree / "root/home/a"},
    };
    for (const auto &[path, shown] : rows)
        EXPECT_EQ(Locations::tildePath(path).toStdString(), shown);
}

TEST_F(LocationsInATestRoot, DrivesAreTheVisibleFoldersInVolumes) {
    tree.dir("root/Volumes/Disk 10/inside");
    tree.dir("root/Volumes/disk 2");
    tree.dir("root/Volumes/Zebra");
    tree.dir("root/Volumes/.hidden");
    tree.file("root/Volumes/file");
    tree.link("root/Volumes/dangling", "nowhere");
    tree.dir("root/Volumes/B\xff");
    VolumeInfo damaged = drive("B");
    damaged.url += "\xff";
    damaged.name += QChar::ReplacementCharacter;
    EXPECT_EQ(Locations::externalVolumes(),
              (std::vector{damaged, drive("disk 2"), drive("Disk 10"), drive("Zebra")}));
    fs::remove_all(volumes());
    EXPECT_EQ(Locations::externalVolumes(), std::vector<VolumeInfo>());
}

TEST_F(LocationsInATestRoot, VolumeInfoKnowsOnlyFoldersDirectlyInVolumes) {
    tree.dir("root/Volumes/Disk/inside");
    tree.file("root/Volumes/file");
    EXPECT_EQ(Locations::volumeInfo(volumes() / "Disk"), drive("Disk"));
    EXPECT_EQ(Locations::volumeInfo(volumes() / "x/.././Disk/"), drive("Disk"));
    for (const fs::path &path :
         {volumes(), volumes() / "none", volumes() / "file", volumes() / "Disk/inside", home(), tree / "root",
          fs::path("/"), fs::path("/mnt"), volumes() / "Disk/.."})
        EXPECT_EQ(Locations::volumeInfo(path), std::nullopt) << path;
}

TEST_F(LocationsInATestRoot, OneDriveFoldersInPreferenceOrder) {
    tree.dir("root/Home/Library/CloudStorage/OneDrive-OldCorp (15-09-2026 1:22 PM)");
    tree.dir("root/Home/Library/CloudStorage/OneDrive-TestCorp");
    tree.dir("root/Home/Library/CloudStorage/GoogleDrive-a@b.c");
    tree.dir("root/Home/Library/CloudStorage/Dropbox");
    tree.dir("root/Home/Library/CloudStorage/.OneDrive-hidden");
    tree.dir("root/Home/Library/CloudStorage/onedrive-small");
    tree.dir("root/Home/Library/CloudStorage/My OneDrive");
    tree.file("root/Home/Library/CloudStorage/OneDrive-stray-file.txt");
    tree.link("root/Home/Library/CloudStorage/OneDrive-link", "OneDrive-TestCorp");
    const auto found = [&] {
        Names names;
        for (const fs::path &root : Locations::oneDriveRoots())
            names.push_back(root.lexically_relative(home()));
        return names;
    };
    const std::string cloud = "Library/CloudStorage/";
    const std::string leftOver = cloud + "OneDrive-OldCorp (15-09-2026 1:22 PM)";
    EXPECT_EQ(found(), (Names{cloud + "OneDrive-TestCorp", leftOver}));

    tree.dir("root/Home/OneDrive");
    tree.dir("root/Home/OneDrive-team 10");
    tree.dir("root/Home/OneDrive-Team 9");
    tree.dir("root/Home/OneDrive-Alpha (2)");
    EXPECT_EQ(found(), (Names{"OneDrive", "OneDrive-Team 9", "OneDrive-team 10", cloud + "OneDrive-TestCorp",
                              "OneDrive-Alpha (2)", leftOver}));

    tree.dir("root/Home/OneDrive-TestCorp");
    fs::remove_all(home() / leftOver);
    fs::remove_all(home() / "OneDrive-Alpha (2)");
    EXPECT_EQ(found().at(3), cloud + "OneDrive-TestCorp")
        << "of two equal names the one in CloudStorage comes first";
    EXPECT_EQ(found().at(4), "OneDrive-TestCorp");
    fs::remove_all(home());
    EXPECT_EQ(found(), Names());
}

TEST_F(LocationsInATestRoot, AnUnreadableOneDriveFolderIsNone) {
    tree.dir("root/Home/OneDrive-open");
    tree.dir("root/Home/OneDrive-shut");
    ::chmod(tree.top().c_str(), 0755);
    ::chmod((home() / "OneDrive-shut").c_str(), 0311);
    EXPECT_EXIT(
        {
            Restricted::becomeOrdinaryUser();
            std::_Exit(Locations::oneDriveRoots() == std::vector{home() / "OneDrive-open"} ? 0 : 1);
        },
        testing::ExitedWithCode(0), "");
    ::chmod((home() / "OneDrive-shut").c_str(), 0755);
}

TEST_F(LocationsInATestRoot, RelativePath) {
    tree.dir("real/a/b");
    tree.link("link", "real");
    struct Row {
        const char *situation;
        std::string url;
        std::string base;
        std::optional<std::string> expected;
    };
    const Row rows[] = {
        {"below, in other case", "/Volumes/Drive/Photos/2026", "/volumes/drive", "Photos/2026"},
        {"other case beyond ASCII", "/m/BÜCHER/Ä", "/m/bücher", "Ä"},
        {"itself", "/m/drive", "/m/drive", ""},
        {"itself with final separators", "/m/drive/", "/m/drive", ""},
        {"base with a final separator", "/m/drive/a", "/m/drive/", "a"},
        {"outside", "/m/other", "/m/drive", std::nullopt},
        {"above", "/m", "/m/drive", std::nullopt},
        {"only the name begins alike", "/m/drive2/a", "/m/drive", std::nullopt},
        {"below the root folder", "/m/a", "/", "m/a"},
        {"as given before standardising", "/m/drive/x/../a", "/m/drive", "x/../a"},
        {"standardised", "/m/x/.././drive//a", "/m/drive", "a"},
        {"standardised base", "/m/drive/a", "/m//x/../drive", "a"},
        {"the same after standardising", "/m/./drive", "/m/drive", ""},
        {"outside after standardising", "/m/a/../b", "/m/c/../d", std::nullopt},
        {"through a link", tree / "link/a/b", tree / "real", "a/b"},
        {"base through a link", tree / "real/a/none", tree / "link/a", "none"},
        {"the same through a link", tree / "link", tree / "real", ""},
        {"as given before links are resolved", tree / "link/a", tree.top(), "link/a"},
    };
    for (const Row &row : rows) {
        const std::optional<QString> relative = Locations::relativePath(row.url, row.base);
        EXPECT_EQ(relative ? std::optional(relative->toStdString()) : std::nullopt, row.expected)
            << row.situation;
    }
}

TEST_F(LocationsInATestRoot, VolumeIsTheInnermostDriveElseThisMac) {
    const auto at = [](const char *url, const char *name) {
        return VolumeInfo{.url = url, .name = QString::fromUtf8(name)};
    };
    const std::vector<VolumeInfo> drives = {at("/m/Outer", "outer"), at("/m/Outer/in/Inner", "inner"),
                                            at("/m/twin", "first twin"), at("/m/TWIN", "second twin"),
                                            at("/m/Out", "out")};
    const std::pair<fs::path, std::optional<VolumeInfo>> rows[] = {
        {"/m/Outer", drives[0]},
        {"/M/OUTER/a", drives[0]},
        {"/m/Outer/in", drives[0]},
        {"/m/Outer/in/Inner2", drives[0]},
        {"/m/Outer/in/inner/a", drives[1]},
        {"/m/x/../Outer//in/Inner", drives[1]},
        {"/m/Twin/a", drives[2]},
        {"/m/Out/a", drives[4]},
        {"/m/Outer2/a", std::nullopt},
        {"/m", std::nullopt},
        {home() / "Photos", thisMac()},
        {home() / "none/below", thisMac()},
        {home(), std::nullopt},
        {tree / "root/Homework", std::nullopt},
        {tree / "root", std::nullopt},
    };
    for (const auto &[url, expected] : rows)
        EXPECT_EQ(Locations::volume(url, drives), expected) << url;
    const VolumeInfo onHome = {.url = home() / "mounted"};
    EXPECT_EQ(Locations::volume(home() / "mounted/a", {onHome}), onHome)
        << "a drive wins over the home folder";
}

TEST_F(LocationsInATestRoot, ResolveOriginal) {
    tree.dir("root/Volumes/first");
    tree.dir("root/Volumes/second/Photos");
    tree.file("root/Volumes/first/file");
    tree.dir("root/Volumes/second/file");
    const auto at = [&](const char *folder, std::optional<QString> uuid, const char *name) {
        return VolumeInfo{
            .url = volumes() / folder, .name = QString::fromUtf8(name), .uuid = std::move(uuid)};
    };
    const QString uuid = QStringLiteral("5A1F-33C0");
    const std::vector<VolumeInfo> drives = {at("first", std::nullopt, "Disk"),
                                            at("second", QStringLiteral("B"), "Disk"),
                                            at("none", uuid, "Other"), at("second", uuid, "Twin")};
    struct Row {
        const char *situation;
        std::optional<QString> uuid;
        const char *name;
        const char *relative;
        std::optional<Locations::ResolvedFolder> expected;
    };
    const QString homeKey = QStringLiteral("this-mac-home");
    const Row rows[] = {
        {"home, whether it exists or not", homeKey, "Disk", "none", {{thisMac(), home() / "none"}}},
        {"the home folder itself", homeKey, "", "", {{thisMac(), home()}}},
        {"the first with the UUID, existing or not",
         uuid,
         "Disk",
         "x/y",
         {{drives[2], volumes() / "none/x/y"}}},
        {"the whole drive", uuid, "", "", {{drives[2], volumes() / "none"}}},
        {"by name, where the folder exists",
         std::nullopt,
         "Disk",
         "Photos",
         {{drives[1], volumes() / "second/Photos"}}},
        {"by name, a file is no folder",
         std::nullopt,
         "Disk",
         "file",
         {{drives[1], volumes() / "second/file"}}},
        {"by name, the first of two", std::nullopt, "Disk", "", {{drives[0], volumes() / "first"}}},
        {"by name when no drive has the UUID",
         QStringLiteral("C"),
         "Disk",
         "Photos",
         {{drives[1], volumes() / "second/Photos"}}},
        {"by name, but nowhere there", std::nullopt, "Disk", "none", std::nullopt},
        {"the name in other case", std::nullopt, "disk", "Photos", std::nullopt},
        {"the UUID in other case is another one", uuid.toLower(), "x", "Photos", std::nullopt},
        {"no UUID doesn't mean a drive without one", std::nullopt, "", "", std::nullopt},
        {"a stored path from the top stays on the drive",
         uuid,
         "",
         "/etc",
         {{drives[2], volumes() / "none//etc"}}},
    };
    for (const Row &row : rows) {
        const FolderPair pair = {.volumeUUID = row.uuid,
                                 .volumeName = QString::fromUtf8(row.name),
                                 .sourceRelPath = QString::fromUtf8(row.relative)};
        EXPECT_EQ(Locations::resolveOriginal(pair, drives), row.expected) << row.situation;
    }
}

} // namespace

#include "store/Locations.h"

#include "base/Text.h"
#include "store/StoreUnderTest.h"

namespace {

class LocationsTest : public StoreUnderTest {
  protected:
    const fs::path home = tree / "Home", volumes = tree / "Volumes";
    const VolumeInfo thisMac = {.url = home,
                                .name = QStringLiteral("This Mac"),
                                .uuid = QStringLiteral("this-mac-home"),
                                .fsType = Locations::fileSystemType(tree.top())};
};

TEST_F(LocationsTest, OneDriveFoldersInPreferenceOrder) {
    const Lines order = {"OneDrive", "OneDrive-Team 9", "OneDrive-team 10", "Library/CloudStorage/OneDrive-TestCorp",
                         "OneDrive-Alpha (2)"};
    for (const std::string &folder : order)
        tree.dir("Home/" + folder);
    tree.dir("Home/onedrive-small");
    Lines found;
    for (const fs::path &root : Locations::oneDriveRoots())
        found.push_back(root.lexically_relative(home));
    EXPECT_EQ(found, order);
}

TEST_F(LocationsTest, RelativePath) {
    tree.dir("real/a/b");
    tree.link("link", "real");
    const std::tuple<const char *, std::string, std::string, std::optional<QString>> rows[] = {
        {"below, in other case", "/m/BÜCHER/Ä", "/m/bücher", QStringLiteral("Ä")},
        {"itself", "/m/drive/", "/m/drive", QString()},
        {"only the name begins alike", "/m/drive2/a", "/m/drive", std::nullopt},
        {"after standardising", "/m/x/.././drive//a", "/m/drive/", QStringLiteral("a")},
        {"through a link", tree / "link/a/b", tree / "real", QStringLiteral("a/b")},
        {"base through a link", tree / "real/a/none", tree / "link/a", QStringLiteral("none")}};
    for (const auto &[situation, url, base, expected] : rows)
        EXPECT_EQ(Locations::relativePath(url, base), expected) << situation;
}

TEST_F(LocationsTest, VolumeIsTheInnermostDriveElseThisMac) {
    const std::vector<VolumeInfo> drives = {{.url = "/m/Outer"}, {.url = "/m/Outer/in/Inner"}, {.url = "/m/OUTER"}};
    const std::pair<fs::path, std::optional<VolumeInfo>> rows[] = {
        {"/m/Outer/in/Inner2", drives[0]}, {"/M/OUTER/a", drives[0]},      {"/m/Outer/in/inner/a", drives[1]},
        {"/m/Outer2/a", std::nullopt},     {home / "none/below", thisMac}, {home, std::nullopt},
        {tree / "Homework", std::nullopt}};
    for (const auto &[url, expected] : rows)
        EXPECT_EQ(Locations::volume(url, drives), expected) << url;
}

TEST_F(LocationsTest, ResolveOriginal) {
    tree.dir("Volumes/second/Photos");
    tree.file("Volumes/first/Photos");
    const std::vector<VolumeInfo> drives = {{.url = volumes / "first", .name = QStringLiteral("Disk")},
                                            {volumes / "second", QStringLiteral("Disk"), QStringLiteral("B"), {}},
                                            {volumes / "none", QStringLiteral("Other"), QStringLiteral("A"), {}}};
    const std::tuple<const char *, const char *, const char *, const char *, std::string> rows[] = {
        {"home, existing or not", "this-mac-home", "Disk", "Photos", home / "Photos"},
        {"by UUID, existing or not", "A", "Disk", "Photos", volumes / "none/Photos"},
        {"a stored path from the top", "A", "Disk", "/etc", volumes / "none//etc"},
        {"by name, where the folder exists", nullptr, "Disk", "Photos", volumes / "second/Photos"},
        {"no drive has the UUID", "C", "Disk", "Photos", volumes / "second/Photos"},
        {"by name, the first of two", nullptr, "Disk", "", volumes / "first"},
        {"by name, but nowhere there", nullptr, "Disk", "none", ""},
        {"the name in other case", nullptr, "disk", "Photos", ""}};
    for (const auto &[situation, uuid, name, relative, expected] : rows) {
        const FolderPair pair = {.volumeUUID = uuid ? std::optional(QString::fromUtf8(uuid)) : std::nullopt,
                                 .volumeName = QString::fromUtf8(name),
                                 .sourceRelPath = QString::fromUtf8(relative)};
        const auto resolved = Locations::resolveOriginal(pair, drives);
        EXPECT_EQ(resolved ? resolved->folder.native() : "", expected) << situation;
    }
}

} // namespace

#include "store/DriveProfile.h"

#include "store/StoreUnderTest.h"
#include "support/LoopMount.h"

#include <functional>
#include <regex>

using namespace Store;
using DriveProfileTest = StoreUnderTest;

const std::string place = "Volumes/Drive/.Tarnwick/profile-basic.json";
const ProfilePair photos = {QStringLiteral("Photos"), QStringLiteral("Backups/Photos"), true};

TEST_F(DriveProfileTest, StandsBesideWhatOthersKeepThereAndCanBeReadByAll) {
    tree.file("Volumes/Drive/.Tarnwick/theirs");
    writeProfile({photos}, tree / "Volumes/Drive");
    EXPECT_TRUE(std::regex_match(machineID().toStdString(), std::regex("[0-9a-f]{16}")));
    EXPECT_FALSE(readProfile(tree / "Volumes/Drive")->savedBy.isEmpty());
    EXPECT_EQ(tree.snapshot("Volumes/Drive").size(), 3u);
    EXPECT_EQ(modeOf(place), fs::perms(0644));
}

TEST_F(DriveProfileTest, AStrangersFilesAreNeitherBelievedNorWrittenThrough) {
    writeProfile({photos, photos}, tree / "Support");
    const Snapshot outside = tree.snapshot("Support");
    std::string valid = tree.read("Support/.Tarnwick/profile-basic.json");
    valid.resize(1024 * 1024, ' ');
    tree.file(place, valid);
    EXPECT_TRUE(readProfile(tree / "Volumes/Drive"));
    const Lines refused = {"Could not save folder choices on the drive: .Tarnwick: Not a directory"};
    const std::tuple<const char *, std::function<void()>, Lines> rows[] = {
        {"a key is missing", [&] { tree.file(place, R"({"pairs": []})"); }, {}},
        {"above 1 MiB", [&] { tree.file(place, valid + ' '); }, {}},
        {"a link", [&] { tree.link(place, "../../../Support/.Tarnwick/profile-basic.json"); }, {}},
        {"folder is a link", [&] { tree.link("Volumes/Drive/.Tarnwick", "../../Support/.Tarnwick"); }, refused},
        {"folder is a file", [&] { tree.file("Volumes/Drive/.Tarnwick"); }, refused}};
    for (const auto &[situation, make, lines] : rows) {
        fs::remove_all(tree / "Volumes/Drive/.Tarnwick");
        make();
        EXPECT_FALSE(readProfile(tree / "Volumes/Drive")) << situation;
        writeProfile({photos}, tree / "Volumes/Drive");
        EXPECT_EQ(readProfile(tree / "Volumes/Drive").has_value(), lines.empty()) << situation;
        EXPECT_EQ(logged(), lines) << situation;
        EXPECT_EQ(tree.snapshot("Support"), outside) << situation;
    }
}

TEST_F(DriveProfileTest, OnlyOnRealDrivesThatAreThereAndNeverInATest) {
    TestRoot::set(std::nullopt);
    EXPECT_TRUE(profileAccessAllowed("/media/real"));
    ::setenv("TARNWICK_SUPPORT_DIR", "", 1);
    EXPECT_FALSE(profileAccessAllowed("/media/real"));
    ::unsetenv("TARNWICK_SUPPORT_DIR");
    if (const auto reason = LoopMount::whyNot(LoopMount::Type::Tmpfs))
        GTEST_SKIP() << *reason;
    LoopMount real({.type = LoopMount::Type::Tmpfs});
    writeProfile({photos}, real.top());
    EXPECT_TRUE(readProfile(real.top()));
    real.lazyUnmount();
    writeProfile({photos, photos}, real.top());
    EXPECT_TRUE(fs::is_empty(real.top()));
    EXPECT_EQ(logged(), Lines());
}

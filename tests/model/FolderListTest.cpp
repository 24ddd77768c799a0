#include "model/ModelUnderTest.h"
#include "support/LoopMount.h"

TEST_F(ModelUnderTest, TheFirstRefusalWinsAndNothingChanges) {
    if (const auto reason = LoopMount::whyNot(LoopMount::Type::Tmpfs))
        GTEST_SKIP() << *reason;
    const fs::path home = tree / "Home", photos = tree / "Volumes/Drive/2024/Photos";
    const std::string place =
        "can't be backed up from there. Pick a folder inside your home folder or on a connected drive.";
    const std::string around = "The backup folder can't be inside the original folder (or the other way round).";
    const std::string outside =
        "Tarnwick Basic backs up to OneDrive. Choose a folder inside OneDrive (not OneDrive's top folder).";
    const std::string none =
        "The place for the backup (“none”) isn't available. Open OneDrive and make sure it is signed in.";
    fs::remove(oneDrive);
    load({});
    EXPECT_EQ(text(addPair(home, home)), "“Home” " + place);
    EXPECT_EQ(
        text(addPair(photos, home)),
        "OneDrive wasn't found on this computer. Install and sign in to OneDrive, or choose its folder in Settings.");
    tree.dir("Home/OneDrive/locked");
    tree.link("Home/all", home);
    tree.link("Home/cloud", "OneDrive");
    const Mount locked("tmpfs", oneDrive / "locked", "tmpfs", "ro");
    const Lines pairs = {"+ This Mac:OneDrive/In > A", "+ Drive:Photos > P", "- Gone:X > X"};
    load(pairs);
    const std::tuple<fs::path, fs::path, std::string> rows[] = {
        {home, oneDrive, "“Home” " + place},
        {tree / "Volumes/DRIVE/Photos", oneDrive, "“Photos” " + place},
        {photos / "\xff", oneDrive, "“\uFFFD” " + place},
        {oneDrive, oneDrive, outside},
        {oneDrive, oneDrive / "none/a", around},
        {home / "all", oneDrive / "a", around},
        {home / "cloud/In", oneDrive / "In/a", around},
        {photos, oneDrive / "none/a", none},
        {photos, oneDrive / "locked", "Tarnwick can't write to “locked”. Pick a folder you have permission to change."},
        {photos, oneDrive / "locked/new",
         "Tarnwick can't create a folder in “locked”. Pick a folder you have permission to change."}};
    for (const auto &[original, backup, refusal] : rows)
        EXPECT_EQ(text(addPair(original, backup)), refusal);
    EXPECT_EQ(text(setBackup(QUuid(), home)), "That folder isn't in the list any more.");
    EXPECT_EQ(text(setBackup(id(0), home)), around);
    EXPECT_EQ(text(setBackup(id(1), oneDrive)), outside);
    EXPECT_EQ(text(setBackup(id(2), oneDrive / "none/a")), none);
    EXPECT_EQ(listed(), pairs);
}

TEST_F(ModelUnderTest, HoldsAnOriginalOnceInTheOrderOfAddition) {
    load({});
    for (const char *original : {"Volumes/Drive/2024/Photos", "Home/Notes", "Volumes/Other"})
        EXPECT_EQ(addPair(tree / original, oneDrive / "old"), std::nullopt);
    EXPECT_EQ(setBackup(id(2), oneDrive / "other"), std::nullopt);
    model->setEnabled(id(0), false);
    const QUuid first = id(0);
    EXPECT_EQ(addPair(tree / "Volumes/Drive/2024/Photos", oneDrive / "x/../new/."), std::nullopt);
    EXPECT_EQ(listed(), (Lines{"+ Drive:2024/Photos > new", "+ This Mac:Notes > old", "+ Other: > other"}));
    EXPECT_EQ(id(0), first);
    startAnew();
    const PairRow photos = model->rows().at(0), notes = model->rows().at(1);
    EXPECT_EQ(text(photos.originalSubtitle() + u'|' + photos.name()), "Drive › 2024|Photos");
    EXPECT_EQ(notes.number, 2);
    EXPECT_TRUE(notes.connected);
    EXPECT_FALSE(notes.backupExists);
    model->remove(id(1));
    EXPECT_EQ(listed(), (Lines{"+ Drive:2024/Photos > new", "+ Other: > other"}));
}

#include "model/ModelUnderTest.h"
#include "support/LoopMount.h"
#include "sync/FileGate.h"

TEST_F(ModelUnderTest, TheFirstRefusalWinsAndNothingChanges) {
    if (const auto reason = LoopMount::whyNot(LoopMount::Type::Tmpfs))
        GTEST_SKIP() << *reason;
    std::string place = "can't be backed up from there. Pick a folder inside your home folder or on a connected drive.";
    const fs::path home = tree / "Home", photos = tree / "Volumes/Drive/2024/Photos";
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
        {oneDrive, oneDrive,
         "Tarnwick Basic backs up to OneDrive. Choose a folder inside OneDrive (not OneDrive's top folder)."},
        {oneDrive, oneDrive / "none/a",
         "The backup folder can't be inside the original folder (or the other way round)."},
        {home / "all", oneDrive / "a",
         "The backup folder can't be inside the original folder (or the other way round)."},
        {home / "cloud/In", oneDrive / "In/a",
         "The backup folder can't be inside the original folder (or the other way round)."},
        {photos, oneDrive / "none/a",
         "The place for the backup (“none”) isn't available. Open OneDrive and make sure it is signed in."},
        {photos, oneDrive / "locked", "Tarnwick can't write to “locked”. Pick a folder you have permission to change."},
        {photos, oneDrive / "locked" / "new",
         "Tarnwick can't create a folder in “locked”. Pick a folder you have permission to change."}};
    for (const auto &[original, backup, refusal] : rows)
        EXPECT_EQ(text(addPair(original, backup)), refusal);
    EXPECT_EQ(text(setBackup(QUuid(), home)), "That folder isn't in the list any more.");
    EXPECT_EQ(text(setBackup(id(0), home)), std::get<2>(rows[4]));
    EXPECT_EQ(text(setBackup(id(1), oneDrive)), std::get<2>(rows[3]));
    EXPECT_EQ(text(setBackup(id(2), oneDrive / "none/a")), std::get<2>(rows[7]));
    EXPECT_EQ(listed(), pairs);
}

TEST_F(ModelUnderTest, HoldsAnOriginalOnceInTheOrderOfAddition) {
    if (const auto reason = FileGate::whyNot())
        GTEST_SKIP() << *reason;
    load({});
    for (const char *original : {"Volumes/Drive/2024/Photos", "Home/Notes", "Volumes/Other"})
        EXPECT_EQ(text(addPair(tree / original, oneDrive / "old")), "");
    EXPECT_EQ(text(setBackup(id(2), oneDrive / "other")), "");
    model->setEnabled(id(0), false);
    const QUuid first = id(0);
    int saves = 0;
    {
        const FileGate gate({tree / "Support"}, [&](FileGate::Event, const std::string &) {
            fs::create_hard_link(tree / "Support/config.json", tree / ("before save " + std::to_string(++saves)));
            return 0;
        });
        EXPECT_EQ(text(addPair(tree / "Volumes/Drive/2024/Photos", oneDrive / "new")), "");
    }
    EXPECT_EQ(listed(), (Lines{"+ Drive:2024/Photos > new", "+ This Mac:Notes > old", "+ Other: > other"}));
    EXPECT_TRUE(id(0) == first && saves == 2);
    fs::rename(tree / "before save 2", tree / "Support/config.json");
    startAnew();
    EXPECT_EQ(text(model->rows()[0].originalSubtitle() + u'|' + model->rows()[0].name()), "Drive › 2024|Photos");
    EXPECT_TRUE(model->rows()[1].number == 2 && model->rows()[1].connected && !model->rows()[1].backupExists);
    model->remove(id(1));
    EXPECT_EQ(listed(), (Lines{"- Drive:2024/Photos > new", "+ Other: > other"}));
}

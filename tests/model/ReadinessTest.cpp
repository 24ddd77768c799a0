#include "model/ModelUnderTest.h"

TEST_F(ModelUnderTest, WhyNothingCanBeSyncedAndWhatASyncThenSays) {
    tree.dir("Volumes/Drive/Photos");
    const std::string add = "Add a folder to back it up to OneDrive.", tick = "Tick a folder to back it up.";
    const std::string open = "OneDrive wasn't found on this computer. Open Settings to choose your OneDrive folder.";
    const std::string find = "” was skipped: OneDrive wasn't found. Choose your OneDrive folder in Settings.";
    const std::string gone = "” was skipped: the drive “B” isn't connected.";
    const std::string leads = "” was skipped: its stored folders lead outside the drive or OneDrive.";
    const std::tuple<Lines, bool, std::string, std::string> rows[] = {
        {{}, false, add, add},
        {{"- B:X > X"}, false, tick, tick},
        {{"+ B:X/Y > X"}, false, open, "“Y" + gone},
        {{"+ Drive:Photos > /P", "+ B:X > X"}, false, open, "“Photos" + find},
        {{"+ B: > X", "+ A:X > X", "+ B:X > X", "- Drive:Photos > P"}, true, "Connect “A, B” to sync.", "“B" + gone},
        {{"+ This Mac:OneDrive > ../OneDrive/P"}, true, "", "“OneDrive" + leads},
        {{"+ This Mac:OneDrive > P"}, true, "", "“OneDrive” was skipped: its backup folder is inside the original."},
        {{"- Drive:Photos > P", "+ This Mac:none > P", "+ B:X > X"}, true, "", ""}};
    for (const auto &[pairs, hasOneDrive, blocker, message] : rows) {
        fs::remove_all(oneDrive);
        tree.dir(hasOneDrive ? "Home/OneDrive" : "Home/Dropbox");
        load(pairs);
        EXPECT_EQ(text(model->syncBlocker()), blocker);
        EXPECT_EQ(refusal(), message);
        EXPECT_EQ(text(model->message()), message);
        EXPECT_EQ(model->canSync(), blocker.empty() && !model->busy());
        EXPECT_EQ(run().id.isNull(), !message.empty());
    }
    start({{id(0), QUuid::createUuid()}});
    run();
    EXPECT_EQ(text(model->message()), "There is nothing to sync right now.");
}

TEST_F(ModelUnderTest, AChangeIsSavedWhereItDiffers) {
    load({"+ Drive: > P"});
    AppConfig config = model->config();
    const auto saved = [&] {
        fs::remove(tree / "Support/config.json");
        fs::remove_all(tree / "Volumes/Drive/.Tarnwick");
        model->setConfig(config);
        settle();
        EXPECT_TRUE(AppModel::flushProfiles(std::chrono::seconds(10)));
        return tree.snapshot("Support").size() + tree.snapshot("Volumes/Drive").size();
    };
    EXPECT_EQ(saved(), 0u);
    config.autoSyncOnConnect = false;
    EXPECT_EQ(saved(), 1u);
    config.pairs[0].lastOK = true;
    EXPECT_EQ(saved(), 3u);
    tree.dir("Volumes/New");
    config.oneDriveRootPath = QString::fromStdString(tree / "Volumes/New");
    EXPECT_EQ(saved(), 1u);
    EXPECT_EQ(model->volumes().size(), 3u);
    EXPECT_EQ(model->oneDriveRoot(), tree / "Volumes/New");
    fs::remove(tree / "Volumes/New");
    refresh();
    EXPECT_EQ(model->oneDriveRoot(), oneDrive);
}

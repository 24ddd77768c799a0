#include "model/ModelUnderTest.h"
#include "support/LoopMount.h"

namespace {

/// The OneDrive folder "Home/OneDrive" is a mount of its own, and another account's folder stands beside it.
class MountedOneDrive : public ModelUnderTest {
  protected:
    void SetUp() override {
        if (const auto reason = LoopMount::whyNot(LoopMount::Type::Tmpfs))
            GTEST_SKIP() << *reason;
        tree.file("Home/Notes/n.txt", "note");
        tree.dir("Home/OneDrive-Other");
        mount(true);
        load({"+ This Mac:Notes > Notes"});
        launch(false);
    }
    /// Mounts or unmounts it; `refresh` tells of it.
    void mount(bool isMounted) {
        if (isMounted && !mounted)
            mounted.emplace("tmpfs", oneDrive, "tmpfs", "size=900m");
        if (!isMounted)
            mounted.reset();
    }
    bool startsWhenMountsChange() {
        model->mountsChanged();
        settle();
        return model->busy();
    }
    std::string kept() const { return text(Store::loadConfig().oneDriveMountPoint); }

    std::optional<Mount> mounted;
};

TEST_F(MountedOneDrive, TheSyncAtLaunchRunsOnceWhenTheMountAppears) {
    mount(false);
    launch(true);
    EXPECT_EQ(passDelays(), std::vector{20'000});
    run();
    EXPECT_FALSE(startsWhenMountsChange()) << "something else was mounted";
    mount(true);
    startsWhenMountsChange();
    EXPECT_EQ(run().trigger, SyncTrigger::launch);
    EXPECT_EQ(run().filesCopied, 1);
    EXPECT_FALSE(startsWhenMountsChange());
    mount(false);
    EXPECT_NE(refusal(), "");
    mount(true);
    EXPECT_FALSE(startsWhenMountsChange()) << "what the user wished for is not done behind his back";
}

TEST_F(MountedOneDrive, ChoosingAnewForgetsTheMount) {
    const fs::path other = tree / "Home/OneDrive-Other";
    mount(false);
    refresh();
    const std::pair<fs::path, std::string> refusals[] = {
        {other / "x", "“x” can't be the OneDrive folder: it isn't a folder."},
        {tree / "Home", "“Home” can't be the OneDrive folder: your home folder is inside it."},
        {tree / "Home/\xFF", "“\uFFFD” can't be the OneDrive folder: its path isn't valid text."}};
    for (const auto &[folder, refusal] : refusals)
        EXPECT_EQ(text(chooseOneDrive(folder)), refusal);
    EXPECT_EQ(model->oneDriveRoot(), std::nullopt);
    const std::tuple<const char *, bool, std::optional<fs::path>, fs::path, std::string> rows[] = {
        {"the other account's", false, tree / "Home/x/../OneDrive-Other/", other, ""},
        {"none: now it is an ordinary folder", false, std::nullopt, oneDrive, ""},
        {"the mount", true, oneDrive, oneDrive, oneDrive},
        {"the same folder anew, without its mount", false, oneDrive, oneDrive, ""}};
    for (const auto &[situation, isMounted, choice, root, mountPoint] : rows) {
        mount(isMounted);
        EXPECT_EQ(chooseOneDrive(choice), std::nullopt) << situation;
        EXPECT_EQ(model->oneDriveRoot(), root) << situation;
        EXPECT_EQ(kept(), mountPoint) << situation;
        EXPECT_TRUE(model->canSync()) << situation;
    }
    mount(true);
    refresh();
    mount(false);
    AppConfig config = model->config();
    EXPECT_EQ(text(config.oneDriveMountPoint), oneDrive);
    config.oneDriveRootPath.reset();
    model->setConfig(config);
    EXPECT_EQ(kept(), "") << "another setting";
}

TEST_F(ModelUnderTest, ARunIntoAnotherFolderThanTheChosenOneSaysSo) {
    tree.file("Home/Notes/n.txt", "note");
    load({"+ This Mac:Notes > Notes"});
    const fs::path chosen = tree / "Volumes/Other";
    chooseOneDrive(chosen);
    fs::remove(chosen);
    refresh();
    start();
    const std::string notice = "The chosen OneDrive folder (" + chosen.native() +
                               ") wasn't found, so backups go to ~/OneDrive. Choose your OneDrive folder in Settings.";
    EXPECT_EQ(run().notes, std::vector{QString::fromStdString(notice)});
    EXPECT_EQ(text(model->oneDriveNotice()), notice);
}

} // namespace

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
        mount();
        load({"+ This Mac:Notes > Notes"});
        launch(false);
    }
    void mount() { mounted.emplace("tmpfs", oneDrive, "tmpfs", "size=900m"); }
    void unmount() { mounted->lazyUnmount(); }
    std::string kept() const { return text(Store::loadConfig().oneDriveMountPoint); }

    std::optional<Mount> mounted;
    const std::string away = "OneDrive isn't mounted (~/OneDrive). Start your OneDrive client, then sync again.";
};

TEST_F(MountedOneDrive, NothingIsSyncedOrMadeWhileItIsNotMounted) {
    EXPECT_EQ(kept(), oneDrive);
    unmount();
    refresh();
    EXPECT_EQ(text(model->syncBlocker()), away);
    EXPECT_EQ(text(model->oneDriveNotice()), away);
    EXPECT_FALSE(model->canSync());
    EXPECT_EQ(model->rows().at(0).backupURL, std::nullopt);
    EXPECT_EQ(text(addPair(tree / "Home/Notes", oneDrive / "N")), away);
    EXPECT_EQ(refusal(), "“Notes” was skipped: " + away);
    EXPECT_FALSE(model->busy());
    EXPECT_TRUE(fs::is_empty(oneDrive));
    EXPECT_TRUE(fs::is_empty(tree / "Home/OneDrive-Other"));
    EXPECT_EQ(kept(), oneDrive) << "still remembered";
    startAnew();
    EXPECT_EQ(text(model->syncBlocker()), away) << "after a new start, too";
    mount();
    start();
    EXPECT_EQ(run().filesCopied, 1);
    EXPECT_EQ(tree.read("Home/OneDrive/Notes/n.txt"), "note");
}

TEST_F(MountedOneDrive, TheSyncAtLaunchRunsWhenTheMountAppears) {
    unmount();
    launch(true);
    EXPECT_EQ(passDelays(), std::vector{20'000});
    run();
    model->mountsChanged();
    settle();
    EXPECT_FALSE(model->busy()) << "something else was mounted";
    mount();
    model->mountsChanged();
    settle();
    EXPECT_EQ(run().trigger, SyncTrigger::launch);
    EXPECT_EQ(run().filesCopied, 1);
    model->mountsChanged();
    settle();
    EXPECT_FALSE(model->busy()) << "once";
    unmount();
    EXPECT_NE(refusal(), "");
    mount();
    model->mountsChanged();
    settle();
    EXPECT_FALSE(model->busy()) << "what the user wished for is not done behind his back";
}

TEST_F(MountedOneDrive, ChoosingAnewForgetsTheMount) {
    unmount();
    refresh();
    EXPECT_EQ(text(chooseOneDrive(tree / "Home/OneDrive-Other/x")),
              "“x” can't be the OneDrive folder: it isn't a folder.");
    EXPECT_EQ(text(chooseOneDrive(tree / "Home")),
              "“Home” can't be the OneDrive folder: your home folder is inside it.");
    EXPECT_EQ(text(chooseOneDrive(tree / "Home/\xFF")),
              "“\uFFFD” can't be the OneDrive folder: its path isn't valid text.");
    EXPECT_EQ(text(model->syncBlocker()), away);
    EXPECT_EQ(chooseOneDrive(tree / "Home/x/../OneDrive-Other/"), std::nullopt);
    EXPECT_EQ(model->config().oneDriveRootPath, QString::fromStdString(tree / "Home/OneDrive-Other"));
    EXPECT_EQ(kept(), "");
    EXPECT_TRUE(model->canSync());
    EXPECT_EQ(chooseOneDrive(std::nullopt), std::nullopt);
    EXPECT_EQ(model->oneDriveRoot(), oneDrive) << "now an ordinary folder";
    mount();
    EXPECT_EQ(chooseOneDrive(oneDrive), std::nullopt);
    EXPECT_EQ(kept(), oneDrive);
    unmount();
    EXPECT_EQ(chooseOneDrive(oneDrive), std::nullopt);
    EXPECT_EQ(kept(), "") << "the same folder, but chosen anew";
    EXPECT_TRUE(model->canSync());
    mount();
    refresh();
    unmount();
    AppConfig config = model->config();
    EXPECT_EQ(text(config.oneDriveMountPoint), oneDrive);
    config.oneDriveRootPath.reset();
    model->setConfig(config);
    EXPECT_EQ(kept(), "") << "another setting";
}

TEST_F(MountedOneDrive, WhoOnlyLooksRemembersNothing) {
    chooseOneDrive(tree / "Home/OneDrive-Other");
    chooseOneDrive(std::nullopt);
    EXPECT_EQ(Store::save(AppConfig{.pairs = model->config().pairs}), std::nullopt);
    AppModel::setReadOnly(true);
    startAnew();
    refresh();
    AppModel::setReadOnly(false);
    EXPECT_EQ(kept(), "");
}

TEST_F(ModelUnderTest, ARunIntoAnotherFolderThanTheChosenOneSaysSo) {
    tree.file("Home/Notes/n.txt", "note");
    load({"+ This Mac:Notes > Notes"});
    chooseOneDrive(tree / "Volumes/Other");
    fs::remove(tree / "Volumes/Other");
    refresh();
    const std::string notice = "The chosen OneDrive folder (" + (tree / "Volumes/Other").native() +
                               ") wasn't found, so backups go to ~/OneDrive. Choose your OneDrive folder in Settings.";
    EXPECT_EQ(text(model->oneDriveNotice()), notice);
    start();
    EXPECT_EQ(run().notes, std::vector{QString::fromStdString(notice)});
    fs::remove_all(oneDrive);
    refresh();
    EXPECT_EQ(text(model->syncBlocker()), "OneDrive wasn't found (" + (tree / "Volumes/Other").native() +
                                              "). Start your OneDrive client, or choose your OneDrive folder in "
                                              "Settings.");
}

} // namespace

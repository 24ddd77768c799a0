#include "ui/AddFolderDraft.h"

#include "SampleWindow.h"

#include <gtest/gtest.h>

namespace {

class AddFolderDraftTest : public testing::Test {
  protected:
    SampleWorld world;
    AppModel model;
    AddFolderDraft draft;
    void SetUp() override { world.look(model); }
    bool add() {
        std::optional<bool> isAdded;
        draft.add(model, [&](const std::optional<QString> &refusal) {
            draft.error = refusal;
            isAdded = !refusal;
        });
        EXPECT_TRUE(waitFor([&] { return isAdded.has_value(); }));
        return isAdded.value_or(false);
    }
    const fs::path photos = world.drive("Backup/Projects/2024/Photos");
};

TEST_F(AddFolderDraftTest, ANameIsTrimmedAndOneWithASlashIsNone) {
    draft.setSource(photos);
    EXPECT_EQ(draft.name, QStringLiteral("Photos"));
    EXPECT_EQ(draft.destination(model), world.oneDrive("Photos"));
    draft.name = QStringLiteral("  Mine \n");
    EXPECT_EQ(draft.destination(model), world.oneDrive("Mine"));
    for (const char *name : {"", "  ", "a/b", "/"}) {
        draft.name = QLatin1String(name);
        EXPECT_FALSE(draft.canAdd(model)) << name;
        EXPECT_EQ(draft.summary(model),
                  QStringLiteral("Choose a folder to back up and a name for its folder in OneDrive."));
    }
}

TEST_F(AddFolderDraftTest, TheNameFollowsTheSourceUntilAFolderWasPicked) {
    draft.name = QStringLiteral("typed");
    draft.setSource(photos);
    EXPECT_EQ(draft.name, QStringLiteral("Photos"));
    draft.setChosenFolder(world.oneDrive("Backups"));
    draft.setSource(world.drive("Backup/Music"));
    EXPECT_EQ(draft.name, QStringLiteral("Photos"));
    EXPECT_EQ(draft.summary(model), QStringLiteral("“Music” will be backed up to OneDrive › Backups."));
    draft.chosenFolder.reset();
    draft.missing = world.oneDrive("Photos");
    EXPECT_EQ(draft.summary(model),
              QStringLiteral("“Music” will be backed up to OneDrive › Photos (the folder will be created)."));
    draft.setChosenFolder(world.oneDrive());
    EXPECT_EQ(draft.summary(model),
              QStringLiteral("“Music” will be backed up to ~/Library/CloudStorage/OneDrive-Personal."));
}

TEST_F(AddFolderDraftTest, ARefusalKeepsTheDraftAndANewChoiceClearsIt) {
    const QString nameRefusal = QStringLiteral("OneDrive can't store that folder name (it can't hold \" * : < > ? \\ | "
                                               "or end with a space). Choose another name.");
    draft.setSource(photos);
    draft.name = QStringLiteral("a:b");
    EXPECT_FALSE(add());
    EXPECT_EQ(draft.error, nameRefusal);
    draft.setChosenFolder(world.drive("Backup"));
    EXPECT_EQ(draft.error, std::nullopt);
    EXPECT_FALSE(add());
    EXPECT_EQ(draft.error, QStringLiteral("Tarnwick Basic backs up to OneDrive. Choose a folder inside OneDrive (not "
                                          "OneDrive's top folder)."));
    EXPECT_TRUE(model.config().pairs.empty());
    draft.setChosenFolder(world.oneDrive("Backups"));
    EXPECT_TRUE(add());
    EXPECT_EQ(model.banner(), QStringLiteral("Added “Photos”. Press Sync Now to back it up."));
    EXPECT_EQ(model.config().pairs.at(0).backupRelPath, QStringLiteral("Backups"));
}

} // namespace

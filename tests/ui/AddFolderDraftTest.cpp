#include "ui/AddFolderDraft.h"

#include "screens/SampleWindow.h"

#include <gtest/gtest.h>

namespace {

class AddFolderDraftTest : public testing::Test {
  protected:
    AddFolderDraftTest() {
        world.look(model);
        draft.name = QStringLiteral("typed");
        draft.setSource(world.drive("Backup/Projects/2024/Photos"));
    }
    std::string summary() const { return draft.summary(model).toStdString(); }

    SampleWorld world;
    AppModel model;
    AddFolderDraft draft;
};

TEST_F(AddFolderDraftTest, ANameIsTrimmedAndOneWithASlashIsNone) {
    draft.name = QStringLiteral("  Mine \n");
    EXPECT_EQ(draft.destination(model), world.oneDrive("Mine"));
    for (const char *name : {"", "  ", "a/b", "/"}) {
        draft.name = QLatin1String(name);
        EXPECT_FALSE(draft.canAdd(model)) << name;
        EXPECT_EQ(summary(), "Choose a folder to back up and a name for its folder in OneDrive.");
    }
}

TEST_F(AddFolderDraftTest, TheNameFollowsTheSourceUntilAFolderWasPicked) {
    EXPECT_EQ(summary(), "“Photos” will be backed up to OneDrive › Photos.");
    draft.setChosenFolder(world.oneDrive("Backups"));
    draft.setSource(world.drive("Backup/Music"));
    EXPECT_EQ(summary(), "“Music” will be backed up to OneDrive › Backups.");
    draft.chosenFolder.reset();
    draft.missing = world.oneDrive("Photos");
    EXPECT_EQ(summary(), "“Music” will be backed up to OneDrive › Photos (the folder will be created).");
    draft.setChosenFolder(world.oneDrive());
    EXPECT_EQ(summary(), "“Music” will be backed up to ~/Library/CloudStorage/OneDrive-Personal.");
}

} // namespace

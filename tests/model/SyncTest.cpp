#include "model/ModelUnderTest.h"

TEST_F(ModelUnderTest, ARunIsRecordedOnceAndNothingThatLeadsOutsideIsSynced) {
    for (const char *file : {"Volumes/Drive/A/1", "Volumes/Drive/A/2", "Volumes/Drive/Blocked/file", "Home/N/note",
                             "Home/N/a:b", "Volumes/Other/file", "Home/OneDrive/E/file", "Home/outside/file"})
        tree.file(file);
    for (const char *link : {"Volumes/Drive/out", "Home/link", "Home/OneDrive/out", "Home/OneDrive/Blocked/file"})
        tree.link(link, tree / "Volumes/Other");
    tree.link("Volumes/Drive/in", "A");
    Lines list = {"+ Drive:in > A",         "+ This Mac:N > N",          "+ This Mac:link > E",
                  "+ This Mac:M > M",       "+ Drive:Blocked > Blocked", "+ Drive:/A > 1",
                  "+ Drive:../Other > 2",   "+ Drive:out > 3",           "+ Drive:A > /4",
                  "+ Drive:A > ../outside", "+ Drive:A > out/5",         "+ B:A > A",
                  "- Drive:A > U"};
    load(list);
    std::size_t i = 0;
    QObject::connect(model.get(), &AppModel::runFinished, [&](const SyncRun &run) {
        EXPECT_FALSE(model->busy());
        EXPECT_EQ(model->selectedRunID(), run.id);
        EXPECT_EQ(Store::loadConfig().pairs[1].lastSummary, model->config().pairs[1].lastSummary);
        EXPECT_EQ(model->config().pairs[1].lastSync, run.finished);
    });
    start();
    EXPECT_EQ(text(run().notes.at(7)), "“A” was skipped: the drive “B” isn't connected."); // behind the runner's own
    for (const char *result : {" = 2 files copied", " = 1 file copied", " = Up to date",
                               " = Folder not found on the drive!", " = Up to date!"})
        list[i++] += result;
    EXPECT_EQ(listed(), list);
    EXPECT_EQ(logged().at(0), "Sync started (manual): in, N, link, M, Blocked");
    start({{id(1)}});
    model->sync({{id(1)}}, SyncTrigger::launch);
    EXPECT_EQ((run(), passDelays()), std::vector{2000});
    EXPECT_EQ(run().pairNames, std::vector{QStringLiteral("N")});
}

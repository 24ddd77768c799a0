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
    const std::vector<SyncRun> old(65);
    Store::save(old);
    load(list);
    std::size_t finished = 0, i = 0;
    QObject::connect(model.get(), &AppModel::runFinished, [&](const SyncRun &run) {
        EXPECT_TRUE(!model->busy() && model->selectedRunID() == run.id && Store::loadConfig().pairs[1].lastOK);
        EXPECT_EQ(model->config().pairs[1].lastSync, run.finished);
        EXPECT_TRUE(AppModel::flushHistory(std::chrono::seconds(10)));
        EXPECT_EQ(Store::loadHistory().at(0).id, run.id);
        ++finished;
    });
    EXPECT_EQ(model->history().size(), 65u);
    start();
    EXPECT_EQ(text(run().notes.at(7)), "“A” was skipped: the drive “B” isn't connected."); // behind the runner's own
    const std::vector<SyncRun> saved = Store::loadHistory();
    EXPECT_TRUE(saved.size() == 60 && saved[1].id == old[0].id && saved[59].id == old[58].id);
    for (const char *result : {" = 2 files copied", " = 1 file copied", " = Up to date",
                               " = Folder not found on the drive!", " = Up to date!"})
        list[i++] += result;
    EXPECT_EQ(listed(), list);
    EXPECT_EQ(logged().at(0), "Sync started (manual): in, N, link, M, Blocked");
    start({{id(1)}});
    EXPECT_TRUE(run().pairNames == std::vector{QStringLiteral("N")} && finished == 2);
}

TEST_F(ModelUnderTest, OfTheRequestsDuringARunTheLastAutomaticOneIsKept) {
    load({"+ Drive: > D", "+ Other: > O"});
    start();
    model->sync({{id(0)}}, SyncTrigger::launch);
    model->sync({{id(1)}}, SyncTrigger::driveConnected);
    model->sync({{id(0)}}, SyncTrigger::manual);
    EXPECT_EQ((run(), passDelays()), std::vector{2000});
    EXPECT_TRUE(run().trigger == SyncTrigger::driveConnected && run().pairNames.at(0) == QStringLiteral("Other"));
    start();
    model->sync(std::nullopt, SyncTrigger::launch);
    model->stop();
    EXPECT_EQ((run(), passDelays()), std::vector{2000});
    EXPECT_EQ(run().trigger, SyncTrigger::manual);
}

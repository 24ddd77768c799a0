#include "model/ModelUnderTest.h"
#include "store/DriveProfile.h"
#include "sync/FileGate.h"

TEST_F(ModelUnderTest, ProfilesBringBackThePairsOfADriveThatTheListDoesntKnow) {
    const fs::path drive = tree / "Volumes/Drive", other = tree / "Volumes/Other";
    Store::writeProfile({{QStringLiteral("A"), QStringLiteral("1"), true}, {{}, QStringLiteral("2"), false}}, drive);
    Store::writeProfile({{QStringLiteral("B"), QStringLiteral("3"), true}}, other);
    tree.dir("Volumes/New");
    AppModel::setReadOnly(true);
    load({"+ New: > N"});
    launch(false);
    start();
    EXPECT_TRUE(listed() == Lines{"+ New: > N"} && !model->busy());
    model->remove(id(0));
    AppModel::setReadOnly(false);
    load({"- Other:X > X"});
    launch(false);
    EXPECT_EQ(text(model->banner()), "Brought back your folder choices for “Drive”. Check them below.");
    mountDrive(drive);
    EXPECT_EQ(listed(), (Lines{"- Other:X > X", "+ Drive:A > 1", "- Drive: > 2"}));
    model->remove(id(0));
    EXPECT_EQ(logged().at(0), "Restored 2 folder pair(s) from this computer's own profile on Drive");
    EXPECT_TRUE(AppModel::flushProfiles(std::chrono::seconds(10)));
    EXPECT_TRUE(Store::readProfile(other).value().pairs.empty() &&
                Store::readProfile(drive).value().pairs.size() == 2 && !fs::exists(tree / "Volumes/New/.Tarnwick"));
}

TEST_F(ModelUnderTest, TwoDrivesThatComeAtOnceBothBringBackTheirChoices) {
    const fs::path drive = tree / "Volumes/Drive", other = tree / "Volumes/Other";
    Store::writeProfile({{QStringLiteral("A"), QStringLiteral("1"), true}}, drive);
    Store::writeProfile({{QStringLiteral("B"), QStringLiteral("3"), true}}, other);
    load({});
    mountDrive(drive);
    EXPECT_TRUE(AppModel::flushProfiles(std::chrono::seconds(10)));
    mountDrive(other);
    EXPECT_EQ(listed(), (Lines{"+ Drive:A > 1", "+ Other:B > 3"}));
    EXPECT_EQ(addPair(tree / "Volumes/Drive/A/", tree / "Home/OneDrive/x/../A/."), std::nullopt);
    EXPECT_EQ(listed(), (Lines{"+ Drive:A > A", "+ Other:B > 3"}));
}

TEST_F(ModelUnderTest, WhatIsSyncedOnItsOwnAndWhen) {
    const Lines all = {"+ Other: > O", "+ Drive: > D", "+ This Mac:Notes > N"};
    const std::tuple<std::string, Lines, int, bool, std::vector<int>> rows[] = {
        {"Volumes/Drive/.", all, 290, true, {}},
        {"Volumes/Drive/.", all, 300, true, {6000}},
        {"Volumes/Drive/.", all, -1000, true, {6000}},
        {"Volumes/Drive/.", all, 300, false, {}},
        {"Volumes/Drive/.", {"- Drive: > D", "+ This Mac:Notes > N", "+ Other: > O"}, 300, true, {}},
        {"Home", all, 300, true, {}}};
    for (const auto &[mounted, pairs, secondsAgo, isOn, delays] : rows) {
        load(pairs);
        model->setConfig({.pairs = model->config().pairs, .autoSyncOnConnect = isOn});
        const QString key = QStringLiteral("name:Drive");
        const QDateTime before = QDateTime::currentDateTimeUtc().addSecs(-secondsAgo);
        model->setLastAutoSync(key, before);
        mountDrive(tree / mounted);
        EXPECT_EQ(passDelays(), delays);
        EXPECT_EQ(model->lastAutoSync(key) != before, !delays.empty());
        EXPECT_TRUE(delays.empty() ? !model->busy() : run().pairNames == std::vector{QStringLiteral("Drive")});
    }
    launch(false);
    launch(true);
    EXPECT_TRUE(passDelays() == std::vector{20'000} && run().trigger == SyncTrigger::launch);
    ::setenv("TARNWICK_FAST_TIMERS", "", 1);
    mountDrive(tree / "Volumes/Drive");
    ::unsetenv("TARNWICK_FAST_TIMERS");
    EXPECT_TRUE(until([&] { return model->lastRun()->trigger == SyncTrigger::driveConnected; }));
}

TEST_F(ModelUnderTest, WhatGoesDuringASync) {
    if (const auto reason = FileGate::whyNot())
        GTEST_SKIP() << *reason;
    const auto threads = [] { return std::distance(fs::directory_iterator("/proc/self/task"), {}); };
    tree.file("Volumes/Drive/A/file", "new");
    load({"+ Drive:A > A"});
    int changes = 0, ticks = 0;
    QObject::connect(model.get(), &AppModel::changed, [&] { ++changes; });
    QObject::connect(model.get(), &AppModel::progressChanged, [&] { ++ticks; });
    for (const std::string gone : {"Home/OneDrive", "Volumes/Other", "Volumes/Driv", "Volumes/Drive/", "the model"}) {
        const bool isUsed = gone == "Home/OneDrive" || gone == "Volumes/Drive/";
        tree.file("Home/OneDrive/A/file", "old", later(someTime, -100));
        std::atomic<bool> opened = false, released = false;
        const FileGate gate({tree / "Volumes/Drive/A"}, [&](FileGate::Event, const std::string &) {
            opened = true;
            released.wait(false);
            return 0;
        });
        const auto before = threads();
        changes = ticks = 0;
        start();
        EXPECT_TRUE(until([&] { return opened && ticks > 1; }) && changes <= 2) << changes;
        gone == "the model" ? model.reset() : model->volumeWillUnmount(tree / gone);
        released = true;
        released.notify_all();
        // Without a model nobody tells of the end; other threads, which looked at the disks, may end at the same time.
        const auto isOver = [&] { return tree.read("Home/OneDrive/A/file") == "new" && threads() <= before; };
        EXPECT_TRUE(model ? until([&] { return !model->busy(); }) : until(isOver));
        EXPECT_EQ(tree.read("Home/OneDrive/A/file"), isUsed ? "old" : "new") << gone;
    }
    QCoreApplication::processEvents();
    EXPECT_EQ(logged().at(1), "Drive is being ejected during a sync; stopping safely.");
    EXPECT_TRUE(AppModel::flushHistory(std::chrono::seconds(10)));
    EXPECT_EQ(Store::loadHistory().size(), 4u);
}

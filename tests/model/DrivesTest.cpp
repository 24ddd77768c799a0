#include "model/ModelUnderTest.h"
#include "store/DriveProfile.h"
#include "sync/FileGate.h"

namespace {

class DrivesUnderTest : public ModelUnderTest {
  protected:
    void writeProfile(const fs::path &top, const std::string &folder) {
        const QString name = QString::fromStdString(folder);
        Store::writeProfile({{name, name, true}}, top);
    }
    /// The folders in the profile of a drive once everything is written.
    static Lines profile(const fs::path &top) {
        EXPECT_TRUE(AppModel::flushProfiles(std::chrono::seconds(10)));
        Lines folders;
        for (const Store::ProfilePair &pair : Store::readProfile(top).value_or(Store::DriveProfile()).pairs)
            folders.push_back((pair.enabled ? "+ " : "- ") + text(pair.sourceRelPath));
        return folders;
    }

    const fs::path drive = tree / "Volumes/Drive", other = tree / "Volumes/Other";
};

TEST_F(DrivesUnderTest, NoProfileIsLostThatIsNotYetBroughtBack) {
    writeProfile(drive, "A");
    writeProfile(other, "B");
    AppModel::setReadOnly(true);
    load({"+ This Mac:N > N"});
    launch(false);
    start();
    EXPECT_FALSE(model->busy());
    EXPECT_EQ(listed(), Lines{"+ This Mac:N > N"}) << "while nothing is touched";
    AppModel::setReadOnly(false);
    startAnew();
    mountDrive(drive);
    EXPECT_EQ(profile(other), Lines{"+ B"}) << "it is there, too, but was not looked at";
    mountDrive(other);
    EXPECT_EQ(listed(), (Lines{"+ This Mac:N > N", "+ Drive:A > A", "+ Other:B > B"}));

    fs::rename(drive, tree / "away");
    refresh();
    model->remove(id(1));
    fs::rename(tree / "away", drive);
    refresh();
    model->setEnabled(id(0), false);
    EXPECT_EQ(profile(drive), Lines{"+ A"}) << "it was away when its folder was taken out";
    mountDrive(drive);
    EXPECT_EQ(listed(), (Lines{"- This Mac:N > N", "+ Other:B > B", "+ Drive:A > A"}));

    model->start(false);
    model->refreshEnvironment([&] {
        model->setEnabled(id(1), false);
        EXPECT_EQ(profile(other), Lines{"+ B"}) << "the start brings folders back";
    });
    settle();
    EXPECT_EQ(profile(other), Lines{"- B"});
}

TEST_F(DrivesUnderTest, WhatIsSyncedOnItsOwnAndWhen) {
    const Lines all = {"+ Other: > O", "+ Drive: > D", "+ This Mac:Notes > N"};
    const std::tuple<std::string, Lines, int, bool, std::vector<int>> rows[] = {
        {"Volumes/Drive/.", all, 290, true, {}},
        {"Volumes/Drive/.", all, 300, true, {6000}},
        {"Volumes/Drive/.", all, -1000, true, {6000}},
        {"Volumes/Drive/.", all, 300, false, {}},
        {"Volumes/Drive/.", {"- Drive: > D", "+ This Mac:Notes > N", "+ Other: > O"}, 300, true, {}},
        {"Home", all, 300, true, {}}};
    std::size_t runs = 0;
    for (const auto &[mounted, pairs, secondsAgo, isOn, delays] : rows) {
        load(pairs);
        model->setConfig({.pairs = model->config().pairs, .autoSyncOnConnect = isOn});
        const QString key = QStringLiteral("name:Drive");
        const QDateTime before = QDateTime::currentDateTimeUtc().addSecs(-secondsAgo);
        model->setLastAutoSync(key, before);
        mountDrive(tree / mounted);
        EXPECT_EQ(passDelays(), delays);
        EXPECT_EQ(model->lastAutoSync(key) != before, !delays.empty());
        const SyncRun last = run();
        EXPECT_EQ(model->history().size(), runs += delays.size());
        if (!delays.empty()) {
            EXPECT_EQ(last.pairNames, std::vector{QStringLiteral("Drive")});
        }
    }
    ::setenv("TARNWICK_FAST_TIMERS", "", 1);
    mountDrive(drive);
    ::unsetenv("TARNWICK_FAST_TIMERS");
    EXPECT_EQ(passDelays(), std::vector{1000});
    run();
    launch(false);
    launch(true);
    EXPECT_EQ(passDelays(), std::vector{20'000});
    EXPECT_EQ(run().trigger, SyncTrigger::launch);
}

TEST_F(DrivesUnderTest, WhatGoesDuringASync) {
    if (const auto reason = FileGate::whyNot())
        GTEST_SKIP() << *reason;
    const auto threads = [] { return std::distance(fs::directory_iterator("/proc/self/task"), {}); };
    tree.file("Volumes/Drive/A/file", "new");
    load({"+ Drive:A > A"});
    int changes = 0, ticks = 0;
    QObject::connect(model.get(), &AppModel::changed, [&] { ++changes; });
    QObject::connect(model.get(), &AppModel::progressChanged, [&] { ++ticks; });
    const Lines cancelled = {"+ Drive:A > A = Cancelled!"}, copied = {"+ Drive:A > A = 1 file copied"};
    const std::pair<fs::path, Lines> rows[] = {
        {oneDrive, cancelled}, {other, copied}, {tree / "Volumes/Driv", copied}, {drive / "", cancelled}, {"", {}}};
    for (const auto &[gone, result] : rows) { // at last the model
        tree.file("Home/OneDrive/A/file", "old", later(someTime, -100));
        std::atomic<bool> opened = false, released = false;
        const FileGate gate({drive / "A"}, [&](FileGate::Event, const std::string &) {
            opened = true;
            released.wait(false);
            return 0;
        });
        const auto before = threads();
        changes = ticks = 0;
        start();
        EXPECT_TRUE(until([&] { return opened && ticks > 1; }));
        EXPECT_LE(changes, 2) << "progress alone is none";
        gone.empty() ? model.reset() : model->volumeWillUnmount(gone);
        released = true;
        released.notify_all();
        // Without a model nobody tells of the end; other threads, which looked at the disks, may end at the same time.
        const auto isOver = [&] { return tree.read("Home/OneDrive/A/file") == "new" && threads() <= before; };
        EXPECT_TRUE(model ? until([&] { return !model->busy(); }) : until(isOver));
        EXPECT_EQ(tree.read("Home/OneDrive/A/file"), result == cancelled ? "old" : "new") << gone;
        EXPECT_EQ(model ? listed() : Lines(), result) << gone;
    }
    QCoreApplication::processEvents();
    EXPECT_EQ(logged().at(1), "Drive is being ejected during a sync; stopping safely.");
    EXPECT_TRUE(AppModel::flushHistory(std::chrono::seconds(10)));
    EXPECT_EQ(Store::loadHistory().size(), 4u);
}

} // namespace

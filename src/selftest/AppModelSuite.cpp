#include "selftest/Checks.h"
#include "selftest/Suites.h"
#include "store/Store.h"

using namespace Checks;
namespace fs = std::filesystem;

namespace {

/// The last run: what started it, its folders and what it tells.
std::string last(const AppModel &model) {
    const SyncRun run = model.history().empty() ? SyncRun() : model.history().front();
    return asText(rawText(run.trigger)) + " (" + asText(run.pairNames) + "): " + Fixture::told(run);
}

/// The ready folders, whether Sync Now may be pressed, and why there is nothing to sync.
std::string state(const AppModel &model) {
    waitForDisks(model);
    std::string text;
    for (const FolderPair &pair : model.readyPairs())
        text += PairRow::nameOf(pair).toStdString() + ' ';
    return text + (model.canSync() ? "can sync, " : "can't sync, ") + asText(model.syncBlocker());
}

void unplug(const Fixture &world, AppModel &model) {
    fs::rename(world.drive(), world / "Volumes/.Passport");
    model.volumeUnmounted(world.drive());
}

void folderList(const Fixture &world, AppModel &model) {
    const std::tuple<fs::path, fs::path, bool> rows[] = {
        {world.documents("Notes"), world.oneDrive(), true},
        {world / "Home/Library", world.oneDrive("L"), true},
        {world / "Home", world.oneDrive("H"), true},
        {world.drive("Photos"), world.oneDrive("New"), false}}; // the same folder again
    for (const auto &[original, backup, isRefused] : rows)
        eq(added(model, original, backup).has_value(), isRefused,
           "refusing " + original.native() + " to " + backup.native());
    eq(model.rows().size(), 2, "a refused folder is not added, and one that is there is not added again");
    const QUuid id = model.config().pairs.at(0).id;
    model.setEnabled(id, false);
    const auto another = [&](const AppModel::Answer &done) { model.setBackup(id, world.oneDrive("Other"), done); };
    eq(answerOf(model, another), "none", "choosing another backup folder");
    check(model.enabledPairs().size() == 2 && Store::loadConfig() == model.config(), "it is ticked and kept");
}

void readiness(const Fixture &world, AppModel &model) {
    eq(state(model), "Photos Notes can sync, none", "both folders are ready");
    unplug(world, model);
    eq(state(model), "Notes can sync, none", "a folder on an unplugged drive is not ready");
    model.setEnabled(model.config().pairs.at(1).id, false);
    eq(state(model), "can't sync, Connect “Passport” to sync.", "only an unplugged drive is left");
    model.sync(std::nullopt, SyncTrigger::manual);
    waitIdle(model, "a sync of nothing");
    eq(model.message(), "“Photos” was skipped: the drive “Passport” isn't connected.", "why nothing was synced");
    fs::rename(world / "Volumes/.Passport", world.drive());
    model.refreshEnvironment();
    eq(state(model), "Photos can sync, none", "the drive is back");
    fs::remove(world.oneDrive());
    model.refreshEnvironment();
    waitForDisks(model);
    eq(model.syncBlocker(), "OneDrive wasn't found on this computer. Open Settings to choose your OneDrive folder.",
       "OneDrive is gone");
    model.setEnabled(model.config().pairs.at(0).id, false);
    eq(state(model), "can't sync, Tick a folder to back it up.", "no folder is ticked");
    model.setConfig({});
    eq(state(model), "can't sync, Add a folder to back it up to OneDrive.", "no folder at all");
}

void syncNow(const Fixture &world, AppModel &model) {
    Fixture::put(world.drive("Photos"), "c=mine@1.5 | d=mine@3");
    Fixture::put(world.oneDrive("Photos"), "c=ours | d=ours");
    int finished = 0;
    QObject::connect(&model, &AppModel::runFinished, [&] { ++finished; });
    model.sync(std::nullopt, SyncTrigger::manual);
    check(model.busy() && !model.canSync() && !model.syncBlocker(), "a sync runs");
    waitIdle(model, "Sync Now");
    eq(last(model), "manual (Photos | Notes): 4 files copied (7 bytes)", "both folders are synced in one run");
    eq(Fixture::tree(world.oneDrive()),
       "Notes/ | Notes/n=1 | Photos/ | Photos/a=1 | Photos/b=1 | Photos/c=ours | Photos/d=mine@3",
       "the files arrive, those 3 s newer too, but not those 1.5 s newer");
    eq(model.config().pairs.at(0).lastSummary, "3 files copied", "each folder has its result");
    Fixture::put(world.documents("Notes"), "m=1");
    model.sync(std::vector{QUuid(), model.config().pairs.at(0).id}, SyncTrigger::manual);
    waitIdle(model, "one folder");
    eq(last(model), "manual (Photos): Everything was already up to date", "only the folder that was asked for");
    eq(finished, 2, "the end of each sync is told once");

    Fixture::put(world.documents("Notes"), "x.pid=1");
    unplug(world, model);
    model.sync(std::nullopt, SyncTrigger::manual);
    waitIdle(model, "with an unplugged drive");
    eq(last(model),
       "manual (Notes): 1 file copied (1 byte) · 1 skipped | x.pid→.pid | "
       "Notes: 1 file was skipped because OneDrive doesn't accept that type (.pid). | "
       "“Photos” was skipped: the drive “Passport” isn't connected.",
       "the notes of the run come before those about folders left out");
    check(Fixture::logged("Sync started (manual): Notes") && Fixture::logged("  skipped (type): Notes/x.pid"),
          "the log");
}

void driveConnected(const Fixture &world, AppModel &model) {
    model.setConfig({.pairs = model.config().pairs, .autoSyncOnConnect = false});
    model.volumeMounted(world.drive());
    settle(1.4);
    eq(model.history().size(), 0, "nothing starts with automatic sync switched off");
    model.setConfig({.pairs = model.config().pairs});
    model.volumeMounted(world.drive());
    waitUntil([&] { return !model.history().empty(); }, "connecting a drive starts a sync");
    eq(last(model), "driveConnected (Photos): 2 files copied (2 bytes)", "only folders on that drive are synced");
    model.volumeMounted(world.drive());
    settle(1.4);
    eq(model.history().size(), 1, "connecting it again within five minutes starts nothing");
    model.setLastAutoSync(QStringLiteral("name:Passport"), QDateTime::currentDateTimeUtc().addSecs(-301));
    model.volumeMounted(world.drive());
    waitUntil([&] { return model.history().size() == 2; }, "connecting it five minutes later does");
}

void queueAndEject(const Fixture &world, AppModel &model) {
    Fixture::put(world.drive("Photos"), "large=" + std::string(30'000'000, 'x'));
    model.sync(std::nullopt, SyncTrigger::manual);
    model.sync(std::vector{model.config().pairs.at(0).id}, SyncTrigger::driveConnected);
    model.sync(std::vector{model.config().pairs.at(1).id}, SyncTrigger::launch);
    model.sync(std::nullopt, SyncTrigger::manual);
    model.volumeWillUnmount(world / "Volumes/Pass");
    waitIdle(model, "a sync with requests");
    eq(last(model), "manual (Photos | Notes): 4 files copied (30 MB)", "ejecting another drive stops nothing");
    waitUntil([&] { return model.history().size() == 2; }, "a request during a sync is not lost");
    eq(last(model), "launch (Notes): Everything was already up to date", "the latest automatic request counts");
    fs::remove(world.oneDrive("Photos/large"));
    model.sync(std::nullopt, SyncTrigger::manual, [&](const auto &) { model.volumeWillUnmount(world.drive()); });
    model.sync(std::nullopt, SyncTrigger::launch);
    waitIdle(model, "ejecting the drive");
    check(model.history().at(0).cancelled, "ejecting the drive stops the sync");
    const bool isThere = fs::exists(world.oneDrive("Photos/large"));
    eq(Fixture::tree(world.oneDrive("Photos")), isThere ? "a=1 | b=1 | large=30000000 bytes" : "a=1 | b=1",
       "no half copy");
    model.stop();
    settle(2.3);
    eq(model.history().size(), 3, "a model that is stopped starts no queued request");
}

void keeping(const Fixture &world, AppModel &) {
    Store::save(std::vector(65, SyncRun{.fatal = QStringLiteral("old")}));
    AppModel model;
    eq(model.history().size(), 65, "a longer history is loaded whole");
    model.sync(std::nullopt, SyncTrigger::manual);
    waitIdle(model, "with a full history");
    eq(last(model), "manual (Photos | Notes): 3 files copied (3 bytes)", "the newest run comes first");
    eq(model.history().size(), 60, "the history keeps 60 runs");
    AppModel::flushHistory(std::chrono::seconds(5));
    eq(Store::loadHistory().size(), 60, "the history file keeps 60 runs");
    Fixture::put(world / "Support", "history.json={} | config.json={ broken");
    const AppModel fresh;
    check(fresh.history().empty() && fresh.config() == AppConfig(), "unreadable files: a fresh start");
    eq(std::distance(fs::directory_iterator(world / "Support"), {}), 3, "unreadable settings are kept aside");
}

} // namespace

void Suites::appModel(const Fixture &world) {
    begin("The app model end to end");
    for (const auto act : {folderList, readiness, syncNow, driveConnected, queueAndEject, keeping}) {
        world.reset();
        Fixture::put(world.drive("Photos"), "a=1 | b=1");
        Fixture::put(world.documents("Notes"), "n=1");
        AppModel model;
        added(model, world.drive("Photos"), world.oneDrive("Photos"));
        added(model, world.documents("Notes"), world.oneDrive("Notes"));
        act(world, model);
    }
}

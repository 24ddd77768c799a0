#include "json/Json.h"
#include "selftest/Checks.h"
#include "selftest/Suites.h"
#include "store/DriveProfile.h"
#include "store/Locations.h"

#include <unistd.h>

using namespace Checks;
using namespace Qt::StringLiterals;

namespace {

template <typename Pair>
std::string told(const std::vector<Pair> &pairs) {
    std::vector<QString> texts;
    for (const Pair &pair : pairs)
        texts.push_back(pair.sourceRelPath + u'→' + pair.backupRelPath + (pair.enabled ? u""_s : u" (off)"_s));
    return asText(texts);
}

/// What the drive's profile holds once everything is written: who wrote it, and its folders.
std::string profile(const Fixture &world) {
    AppModel::flushProfiles(std::chrono::seconds(5));
    const auto found = Store::readProfile(world.drive());
    return !found ? "none" : (found->machine == Store::machineID() ? "mine: " : "another's: ") + told(found->pairs);
}

/// Puts a profile of another computer on the drive.
void plant(const Fixture &world, const std::vector<Store::ProfilePair> &pairs) {
    AppModel::flushProfiles(std::chrono::seconds(5));
    const QByteArray bytes = Json::toBytes(Store::DriveProfile{.machine = u"another"_s, .pairs = pairs});
    Fixture::put(world.drive(".Tarnwick"), "profile-basic.json=" + bytes.toStdString());
}

void writing(const Fixture &world) {
    AppModel model;
    added(model, world.documents("Notes"), world.oneDrive("Notes"));
    eq(profile(world), "none", "a drive without chosen folders gets no profile");
    added(model, world.drive("Photos"), world.oneDrive("Photos"));
    added(model, world.drive(), world.oneDrive("All"));
    eq(profile(world), "mine: Photos→Photos | →All", "the profile lists the folders of its drive");
    plant(world, {{u"Photos"_s, u"Photos"_s}, {u""_s, u"All"_s}});
    model.sync(std::nullopt, SyncTrigger::manual);
    waitIdle(model, "a sync with a profile");
    eq(profile(world), "another's: Photos→Photos | →All", "a profile that lists the same is not rewritten");
    AppConfig config = model.config();
    std::swap(config.pairs.at(1), config.pairs.at(2));
    config.pairs.at(1).enabled = false;
    model.setConfig(config);
    eq(profile(world), "mine: →All (off) | Photos→Photos", "another order and unticking are written down");
    model.remove(config.pairs.at(1).id);
    model.remove(config.pairs.at(2).id);
    eq(profile(world), "mine: ", "without folders the profile stays, with an empty list");
}

void restoring(const Fixture &world) {
    plant(world, {{u"Photos"_s, u"Photos"_s}, {u"Music"_s, u"All/Music"_s, false}});
    AppModel model;
    model.volumeMounted(world.drive());
    waitForDisks(model);
    eq(told(model.config().pairs), "Photos→Photos | Music→All/Music (off)", "folders come back, ticked as stored");
    eq(model.banner(), "Brought back your folder choices for “Passport”. Check them below.", "the banner says so");
    check(Fixture::logged("Restored 2 folder pair(s) from this computer's own profile on Passport"), "the log says so");
    const Fixture::Path place = world.drive(".TemporaryItems/folders." + asText(::getuid()) + "/TemporaryItems");
    Fixture::put(place, "NSIRD_TarnwickBasic_old/.tw-1.twtmp=left over");
    model.start(true);
    // Waited for, because nothing of the background work may outlive the test root.
    waitUntil([&] { return std::filesystem::is_empty(place); }, "the start clears stale temporary files");
    eq(model.config().pairs.size(), 2, "folders come back only once");
    eq(profile(world), "another's: Photos→Photos | Music→All/Music (off)", "coming back doesn't rewrite the profile");
    waitUntil([&] { return !model.history().empty(); }, "folders that came back are synced");
    eq(Fixture::tree(world.oneDrive()), "Photos/ | Photos/a=1", "only ticked folders that came back are synced");
}

void belonging(const Fixture &world) {
    const std::tuple<const char *, std::optional<QString>, QString, std::optional<QString>, bool> rows[] = {
        {"the same name", {}, u"Passport"_s, {}, true},
        {"another name", {}, u"Other"_s, {}, false},
        {"the same identifier, renamed", u"U1"_s, u"Old name"_s, u"U1"_s, true},
        {"another identifier, the same name", u"U2"_s, u"Passport"_s, u"U1"_s, false},
        {"an identifier on one side, the same name", u"U1"_s, u"Passport"_s, {}, true},
        {"a folder in the home folder", Locations::homeKey, u"Passport"_s, {}, false}};
    AppModel model;
    for (const auto &[situation, pairKey, pairName, driveKey, isKnown] : rows) {
        model.setConfig({.pairs = {{.volumeUUID = pairKey, .volumeName = pairName}}});
        plant(world, {{u"Photos"_s, u"Photos"_s}});
        model.importProfileIfNeeded({world.drive(), u"Passport"_s, driveKey, {}});
        waitForDisks(model);
        eq(model.config().pairs.size() == 1, isKnown, std::string("a folder of the drive: ") + situation);
    }
}

} // namespace

void Suites::driveProfile(const Fixture &world) {
    begin("Drive profile: folder choices stay with the drive");
    for (const auto act : {writing, restoring, belonging}) {
        world.reset();
        Fixture::put(world.drive("Photos"), "a=1");
        Fixture::put(world.documents("Notes"), "n=1");
        act(world);
    }
}

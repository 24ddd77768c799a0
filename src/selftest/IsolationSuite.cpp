#include "selftest/Checks.h"
#include "selftest/Suites.h"
#include "store/DriveProfile.h"
#include "store/Locations.h"
#include "store/Log.h"
#include "store/Store.h"

using namespace Checks;
namespace fs = std::filesystem;

void Suites::isolation(const Fixture &world) {
    begin("Identity and isolation: nothing outside the test root");
    world.reset();
    eq(Locations::homeURL(), world / "Home", "the home folder is redirected");
    eq(Locations::cacheFolder(), world / "Home/.cache", "the cache folder is redirected");
    eq(Store::supportDir(), world / "Support", "the settings folder is redirected");
    eq(Log::shared().url(), world / "Home/Library/Logs/Tarnwick Basic/Tarnwick Basic.log", "the log is redirected");
    Log::shared().write(QStringLiteral("an entry"));
    check(Fixture::logged("an entry"), "the log is written");
    const fs::path logs = Log::shared().url().parent_path();
    Fixture::put(logs, "Tarnwick Basic.log=" + std::string(5'000'001, '.'));
    Log::shared().write(QStringLiteral("another"));
    check(Fixture::logged("another") && Fixture::tree(logs).find(".log.1=5000001 bytes") != std::string::npos,
          "a log above 5 MB becomes the older one, and a new one is begun");

    Fixture::put(world / "Volumes", "Disk 10/ | disk 2/ | .hidden/ | Passport/Photos/ | file=no drive");
    AppModel model;
    waitForDisks(model);
    eq(model.connectedDriveNames(), "disk 2 | Disk 10 | Passport", "the folders in Volumes are the drives, sorted");
    const std::tuple<fs::path, bool, bool> rows[] = {{world.drive(), true, true},
                                                     {world.drive("Photos"), false, true},
                                                     {world / "Home", false, false},
                                                     {world / "Volumes 2", false, false},
                                                     {"/", false, false},
                                                     {"/media/Passport", false, false}};
    for (const auto &[place, isDrive, mayHaveProfile] : rows) {
        eq(Locations::volumeInfo(place).has_value(), isDrive, place.native() + " is a drive");
        eq(Store::profileAccessAllowed(place), mayHaveProfile, place.native() + " may carry a profile");
    }
    model.volumeMounted("/media/Passport");
    waitForDisks(model);
    check(!Fixture::logged("Drive connected: Passport"), "a real drive is none of the test's business");
    check(!fs::exists(world / "Support/config.json"), "looking at the settings writes nothing");
    model.setConfig({.notifications = false});
    check(fs::exists(world / "Support/config.json") && !Store::loadConfig().notifications, "settings are kept");
}

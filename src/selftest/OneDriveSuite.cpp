#include "selftest/Checks.h"
#include "selftest/Suites.h"

using namespace Checks;
namespace fs = std::filesystem;

void Suites::oneDriveDetection(const Fixture &world) {
    begin("OneDrive detection (fake CloudStorage tree)");
    world.reset();
    const fs::path cloud = world / "Home/Library/CloudStorage";
    const fs::path left = cloud / "OneDrive-OldCorp (15-09-2026 1:22 PM)";
    Fixture::put(left, "");
    Fixture::put(cloud, "GoogleDrive-me/ | Box/ | .OneDrive-hidden/ | OneDrive-stray-file.txt=a file");
    fs::create_directory_symlink(cloud / "Box", cloud / "OneDrive-link");
    AppModel model;
    waitForDisks(model);
    eq(model.oneDriveRoots(), std::vector{world.oneDrive(), left}, "real folders only, a live account first");
    Fixture::put(world / "Home", "OneDrive-10/ | Library/CloudStorage/OneDrive-9/");
    model.refreshEnvironment();
    waitForDisks(model);
    eq(model.oneDriveRoots(), std::vector{cloud / "OneDrive-9", world / "Home/OneDrive-10", world.oneDrive(), left},
       "one in the home folder takes its place in the order");
    for (const fs::path &chosen : {world.oneDrive(), cloud / "gone", cloud / "OneDrive-stray-file.txt"}) {
        model.setConfig({.oneDriveRootPath = QString::fromStdString(chosen)});
        waitForDisks(model);
        const fs::path taken = fs::is_directory(chosen) ? chosen : cloud / "OneDrive-9";
        eq(model.oneDriveRoot(), taken, "chosen by hand: " + chosen.native());
    }
    fs::remove(world / "Home/OneDrive-10");
}

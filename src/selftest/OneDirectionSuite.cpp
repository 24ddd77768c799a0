#include "selftest/Checks.h"
#include "selftest/Suites.h"
#include "store/Locations.h"

using namespace Checks;

void Suites::oneDirection(const Fixture &world) {
    begin("One direction only: your folder → OneDrive");
    carryOut(
        {{"only OneDrive has it", "a=1", "b=2 | Sub/c=3", "Sub/ | Sub/c=3 | a=1 | b=2", "1 file copied (1 byte)"},
         {"OneDrive's is newer", "Sub/a=mine@-60 | b=1", "Sub/a=theirs, longer", "Sub/ | Sub/a=theirs, longer | b=1",
          "1 file copied (1 byte) | Photos/Sub/a — the copy in OneDrive is newer, so it was left alone"}},
        world);

    world.reset();
    Fixture::put(world.documents("Notes"), "n=1");
    const auto atHome = [](const char *source, const char *backup) {
        return FolderPair{.volumeUUID = Locations::homeKey,
                          .sourceRelPath = QString::fromUtf8(source),
                          .backupRelPath = QString::fromUtf8(backup)};
    };
    AppModel model;
    model.setConfig({.pairs = {atHome("Library", "Inside"), atHome("Documents/Notes", "../../Out"),
                               atHome("Documents/Notes", "Notes")}});
    model.sync(std::nullopt, SyncTrigger::manual);
    waitIdle(model, "stored paths that lead elsewhere");
    eq(Fixture::told(model.history().at(0)),
       "1 file copied (1 byte) | “Library” was skipped: its backup folder is inside the original. | "
       "“Notes” was skipped: its stored folders lead outside the drive or OneDrive.",
       "folders that lead elsewhere are skipped, each with its note");
    eq(Fixture::tree(world.oneDrive()), "Notes/ | Notes/n=1", "only the other folders are synced");
}

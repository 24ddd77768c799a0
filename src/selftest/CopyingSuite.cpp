#include "base/FileDescriptor.h"
#include "selftest/Checks.h"
#include "selftest/Suites.h"

#include <thread>

#include <sys/inotify.h>
#include <unistd.h>

using namespace Checks;
namespace fs = std::filesystem;

namespace {

constexpr const char *nothingToDo = "Everything was already up to date";
constexpr const char *leftAlone =
    "Everything was already up to date | Photos/x — the copy in OneDrive is newer, so it was left alone";

void comparing(const Fixture &world) {
    carryOut(
        {{"a first sync",
          "a=1@7.5 | Sub/c=1 | Sub/Deeper/d=1@-9 | Empty/ | Thumbs.db.txt=1 | .DS_Store=1 | ._a=1 | ~$report.docx=1 | "
          "~WRL0001.tmp=1 | Thumbs.DB=1 | desktop.ini=1 | Icon\r=1 | notes.TWTMP=1 | .tw-1A2B3C4D-5E6.twtmp=1",
          "", "Empty/ | Sub/ | Sub/Deeper/ | Sub/Deeper/d=1@-9 | Sub/c=1 | Thumbs.db.txt=1 | a=1@7.5",
          "4 files copied (4 bytes)"},
         {"a left-over temporary file", "a=1", ".tw-1A2B3C4D-5E6.twtmp=half | .mine=hidden | a=1", ".mine=hidden | a=1",
          nothingToDo},
         {"1.5 s newer", "x=mine@1.5", "x=ours", "x=ours", nothingToDo},
         {"3 s newer", "x=mine@3", "x=ours", "x=mine@3", "1 file copied (4 bytes)"},
         {"3 s older", "x=mine@-3", "x=ours", "x=ours", leftAlone},
         {"the same date, another size", "x=longer", "x=ours", "x=longer", "1 file copied (6 bytes)"},
         {"10 s older, another size", "x=longer@-10", "x=ours", "x=ours", leftAlone},
         {"one hour newer, not on FAT", "x=mine@3600", "x=ours", "x=mine@3600", "1 file copied (4 bytes)"},
         {"one hour older, not on FAT", "x=mine@-3600", "x=ours", "x=ours", leftAlone},
         {"one hour newer on FAT", "x=mine@3600", "x=ours", "x=ours", nothingToDo, true},
         {"one hour and 1.5 s older on FAT", "x=mine@-3601.5", "x=ours", "x=ours", nothingToDo, true},
         {"an hour newer on FAT, other size", "x=longer@3600", "x=ours", "x=longer@3600", "1 file copied (6 bytes)",
          true}},
        world);
}

void replacing(const Fixture &world) {
    Fixture::put(world.drive("Photos"), "a=" + std::string(3'000'000, 'x') + "@1000.25");
    Fixture::put(world.oneDrive("Photos"), "a=old");
    fs::create_hard_link(world.oneDrive("Photos/a"), world.oneDrive("old version"));
    const FileDescriptor watch(::inotify_init1(IN_NONBLOCK | IN_CLOEXEC));
    constexpr std::uint32_t events = IN_CREATE | IN_DELETE | IN_MOVED_FROM | IN_MOVED_TO | IN_MODIFY;
    ::inotify_add_watch(watch.get(), world.oneDrive("Photos").c_str(), events);
    eq(Fixture::told(world.backUp()), "1 file copied (3 MB)", "a large file is updated");
    alignas(inotify_event) char seen[8192] = {};
    const ssize_t size = ::read(watch.get(), seen, sizeof seen);
    const auto *event = reinterpret_cast<const inotify_event *>(seen);
    check(size == ssize_t(sizeof *event + event->len) && event->mask == IN_MOVED_TO,
          "an update is one move onto the old file: it is never removed first, and nothing half-made is seen");
    eq(Fixture::tree(world.oneDrive()), "Photos/ | Photos/a=3000000 bytes@1000.25 | old version=old",
       "an update has the date of its original, and the old file was not written into");
}

void changesMeanwhile(const Fixture &world) {
    const char *both = "a=new@9 | b=new", *one = "a=new@9";
    constexpr std::int64_t beforeCopying = 0, inTheMidst = 1; // bytes that have been copied
    const std::tuple<const char *, std::int64_t, const char *, const char *, std::function<void()>> rows[] = {
        {both, beforeCopying,
         "The drive was disconnected while syncing “Photos”. Nothing was damaged; reconnect it to finish.",
         "Photos/ | Photos/a=old", [&] { fs::rename(world.drive(), world / "Volumes/.gone"); }},
        {both, beforeCopying, "The backup folder for “Photos” disappeared during the sync.", "Moved/ | Moved/a=old",
         [&] { fs::rename(world.oneDrive("Photos"), world.oneDrive("Moved")); }},
        {both, beforeCopying,
         "1 file copied (3 bytes) | Photos/a — the copy in OneDrive is newer, so it was left alone",
         "Photos/ | Photos/a=arrived@99 | Photos/b=new",
         [&] { Fixture::put(world.oneDrive("Photos"), "a=arrived@99"); }},
        {both, beforeCopying,
         "1 file copied (3 bytes) | Photos/b — the copy in OneDrive is newer, so it was left alone",
         "Photos/ | Photos/a=new@9 | Photos/b=arrived@99",
         [&] { Fixture::put(world.oneDrive("Photos"), "b=arrived@99"); }},
        {one, inTheMidst,
         "1 problem | Photos/a: The copy was incomplete (the file may have changed while "
         "copying). It will be retried next time.",
         "Photos/ | Photos/a=old", [&] { Fixture::put(world.drive("Photos"), "a=changed@10"); }}};
    for (const auto &[original, bytes, record, backup, act] : rows) {
        world.reset();
        Fixture::put(world.drive("Photos"), original);
        Fixture::put(world.oneDrive("Photos"), "a=old");
        const auto meanwhile = [act = act, bytes = bytes](const SyncProgress &progress) mutable {
            if (progress.stage != SyncProgress::Stage::copying || !act)
                return;
            if (progress.bytesDone >= bytes)
                return std::exchange(act, nullptr)();
            // So that the next report is due at once: the first byte is told, too.
            std::this_thread::sleep_for(std::chrono::milliseconds(130));
        };
        eq(Fixture::told(world.backUp({}, meanwhile)), record, "what happens meanwhile is told");
        eq(Fixture::tree(world.oneDrive()), backup, std::string("nothing is lost: ") + record);
    }
}

void refusals(const Fixture &world) {
    Fixture::put(world.drive("Photos"), "a=1");
    fs::resize_file(world.drive("Photos/a"), fs::space(world.drive()).available + 1'000'000);
    check(asText(world.backUp().fatal).starts_with("Not enough free space on “"), "a sync that can't fit is refused");
    eq(Fixture::tree(world.oneDrive()), "", "a sync that can't fit creates nothing");
    fs::remove_all(world.drive("Photos"));
    eq(world.backUp().errors, "Photos: the folder is missing on the drive (" + world.drive("Photos").native() + ")",
       "no original is one problem");
}

} // namespace

void Suites::copying(const Fixture &world) {
    begin("Sync: copy only what is new or changed, safely");
    for (const auto act : {comparing, replacing, changesMeanwhile, refusals}) {
        world.reset();
        act(world);
    }
}

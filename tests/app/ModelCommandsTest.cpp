#include "app/ProgramTest.h"
#include "support/LoopMount.h"
#include "sync/FileGate.h"

#include <QJsonDocument>

#include <atomic>
#include <csignal>
#include <future>
#include <regex>

namespace {

class ModelCommands : public ModelTest {
  protected:
    /// What it printed; with status 2 on standard error, having changed nothing.
    std::string told(const std::string &arguments, int status = 0) const {
        const Snapshot before = tree.snapshot("Support");
        const Program::Outcome outcome = program(arguments).run();
        EXPECT_EQ(outcome.status, status) << arguments << outcome.err;
        EXPECT_EQ(status == 2 ? outcome.out : outcome.err, "") << arguments;
        EXPECT_TRUE(status != 2 || tree.snapshot("Support") == before) << arguments;
        return status == 2 ? outcome.err : outcome.out;
    }

    void expectOthersAreKeptOut() const {
        for (const char *line : {"--sync Notes --json", "--add @/Home/Notes @/Home/OneDrive/N", "--remove Notes"})
            EXPECT_EQ(told(line, 2), "Tarnwick Basic is already running with these settings.\n");
        EXPECT_NE(told("--list").find("Notes (This computer)"), std::string::npos);
    }
};

TEST_F(ModelCommands, WhatCannotBeDoneIsToldInOneSentenceAndChangesNothing) {
    AppConfig config = settings();
    tree.link("Home/All", tree / "Home");
    for (const char *path : {"Off", "OneDrive", "Out", "a/Twin", "b/Twin", "Gone", "All"}) {
        config.pairs.push_back(config.pairs[1]);
        config.pairs.back().id = QUuid::createUuid();
        config.pairs.back().sourceRelPath = QLatin1String(path);
    }
    config.pairs[2].enabled = false;
    config.pairs[4].backupRelPath = QStringLiteral("../Out");
    config.pairs[7].volumeUUID = QStringLiteral("1234-ABCD");
    save(config);
    std::string reasons = "\n";
    for (const char *line : {"--add @/Photos @/Home/OneDrive/P", "--backup @/Home/All @/Home/OneDrive/A",
                             "--remove Stick", "--remove Twin", "--sync Notes a", "--sync Off --json", "--sync Gone",
                             "--sync OneDrive", "--sync All", "--sync Out"})
        reasons += told(line, 2);
    fs::rename(tree / "Home/OneDrive", tree / "Home/Cloud");
    EXPECT_EQ(reasons + told("--sync", 2), R"(
“Photos” can't be backed up from there. Pick a folder inside your home folder or on a connected drive.
The backup folder can't be inside the original folder (or the other way round).
There is no folder “Stick” in the list (see tarnwick-basic --list).
2 folders in the list have this name. Name the one you mean by its id (see --list --json).
There is no folder “a” in the list (see tarnwick-basic --list).
There is nothing to sync right now.
“Gone” was skipped: the drive “This Mac” isn't connected.
“OneDrive” was skipped: its backup folder is inside the original.
“All” was skipped: its backup folder is inside the original.
“Out” was skipped: its stored folders lead outside the drive or OneDrive.
“Photos” was skipped: OneDrive wasn't found. Choose your OneDrive folder in Settings.
)");
}

TEST_F(ModelCommands, AFolderIsAddedListedAndTakenOut) {
    AppConfig expected = settings();
    fs::remove(tree / "Support/config.json");
    told("--add @/Home/../Volumes/Stick/Photos @/Home/OneDrive/Old");
    told("--add @/Home/Notes @/Home/OneDrive/Notes");
    told("--add @/Volumes/Stick/Photos @/Home/OneDrive/Photos");
    for (std::size_t i = 0; i < 2; ++i)
        expected.pairs[i].id = settings().pairs.at(i).id;
    EXPECT_EQ(settings(), expected);
    fs::rename(tree / "Volumes/Stick", tree / "away");
    EXPECT_EQ(told("--list"), "1. Photos (Stick) → ~/OneDrive/Photos · the drive “Stick” isn't connected\n"
                              "2. Notes (This computer) → ~/OneDrive/Notes · ready\n");
    const auto list = QJsonDocument::fromJson(QByteArray::fromStdString(told("--list --json")));
    fs::rename(tree / "away", tree / "Volumes/Stick");
    told("--remove " + list[u"folders"][0][u"pair"][u"id"].toString().toLower().toStdString());
    EXPECT_EQ(settings().pairs, std::vector{expected.pairs[1]});
    EXPECT_NE(tree.read("Volumes/Stick/.Tarnwick/profile-basic.json").find("\"pairs\" : []"), std::string::npos);
}

TEST_F(ModelCommands, WhatCannotBeSavedIsToldAndWhoOnlyLooksSavesNothing) {
    const AppConfig expected = settings();
    tree.file("Support/config.json", R"({"pairs" : [{"volumeName" : 1}]})");
    const Snapshot before = tree.snapshot("Support");
    EXPECT_EQ(told("--list"), "Add a folder to back it up to OneDrive.\n");
    EXPECT_EQ(tree.snapshot("Support"), before);
    save(expected);
    fs::permissions(tree / "Support", fs::perms(0555));
    for (const char *line : {"--add @/Home/Notes @/Home/OneDrive/N", "--remove Notes", "--onedrive @/Home/OneDrive"}) {
        const Program::Outcome outcome = program(line).run();
        EXPECT_EQ(outcome.status, 1) << line;
        EXPECT_EQ(outcome.out, "") << line;
        EXPECT_EQ(outcome.err, "The settings could not be saved (open: Permission denied).\n") << line;
        EXPECT_EQ(settings(), expected) << line;
    }
    fs::permissions(tree / "Support", fs::perms(0755));
}

TEST_F(ModelCommands, ASyncGoesToTheChosenAccountAndIsWrittenDownEverywhere) {
    AppConfig config = settings();
    config.oneDriveRootPath = QString::fromStdString(tree / "Home/OneDrive-Work");
    save(config);
    tree.dir("Home/OneDrive-Work");
    const SyncRun run = recordOf(told("--sync --json"));
    EXPECT_EQ(history(), std::vector{run});
    EXPECT_EQ(log(), "Sync started (manual): Photos, Notes\nSync finished: 2 files copied (11 bytes)\n");
    EXPECT_EQ(tree.snapshot("Home/OneDrive-Work/Photos"), tree.snapshot("Volumes/Stick/Photos"));
    EXPECT_EQ(tree.snapshot("Home/OneDrive"), Snapshot());
    for (const FolderPair &pair : settings().pairs)
        EXPECT_TRUE(pair.lastSync == run.finished && pair.lastOK == true && pair.lastSummary == u"1 file copied");
    EXPECT_EQ(told("--sync Photos"), "Everything was already up to date\n");
    fs::remove_all(tree / "Home/Notes");
    EXPECT_EQ(told("--sync " + settings().pairs[1].id.toString(QUuid::WithoutBraces).toStdString(), 1),
              inTree("1 problem\nNotes: the folder is missing on the drive (@/Home/Notes)\n"));
    EXPECT_EQ(settings().pairs[1].lastOK, false);
    EXPECT_EQ(history().size(), 3U);
    fs::remove(tree / "Support/config.json"); // but not the profile
    EXPECT_EQ(told("--list"), "Add a folder to back it up to OneDrive.\n");
}

TEST_F(ModelCommands, ABackupFolderThatCannotBeMadeIsOneProblemAndTheOtherFoldersAreSynced) {
    tree.dir("Home/Notes/sub");
    tree.dir("Home/OneDrive/Locked");
    fs::permissions(tree / "Home/OneDrive/Locked", fs::perms(0555));
    const std::string denied = "Notes/: couldn't create folder (Permission denied)\n";
    EXPECT_EQ(told("--backup @/Home/Notes @/Home/OneDrive/Locked/N", 1), "1 problem\n" + denied);
    AppConfig config = settings();
    config.pairs[1].backupRelPath = QStringLiteral("Locked/N");
    std::swap(config.pairs[0], config.pairs[1]);
    save(config);
    EXPECT_EQ(told("--sync", 1), "1 file copied (7 bytes) · 1 problem\n" + denied);
    EXPECT_EQ(settings().pairs[0].lastSummary, QStringLiteral("Backup folder not available"));
}

TEST_F(ModelCommands, FoldersThatCameBackFromADriveAreTold) {
    const std::string notice = "Brought back your folder choices for “Stick”. Check them below.\n";
    told("--sync"); // leaves the profile
    for (const char *arguments :
         {"--sync", "--add @/Home/Notes @/Home/OneDrive/Notes", "--onedrive @/Home/OneDrive", "--remove Photos"}) {
        fs::remove(tree / "Support/config.json");
        const Program::Outcome outcome = program(arguments).run();
        EXPECT_EQ(outcome.status, 0) << arguments;
        EXPECT_EQ(outcome.err, notice) << arguments;
    }
}

TEST_F(ModelCommands, AVolumeThatTheMountTableDoesNotTellIsAskedForItsRoom) {
    if (const auto reason = LoopMount::whyNot(LoopMount::Type::Tmpfs))
        GTEST_SKIP() << *reason;
    const Mount small("tmpfs", tree / "Home/OneDrive", "tmpfs", "size=100m");
    tree.sparseFile("Home/Notes/large", 2'000'000);
    Program backUp = program("--backup @/Home/Notes @/Home/OneDrive/made/N");
    tree.dir("Home/OneDrive/made");
    backUp.words.insert(backUp.words.begin(), {"unshare", "--mount", "sh", "-c",
                                               "mount --bind /dev/null /proc/$$/mountinfo && exec \"$@\"", "-"});
    const Program::Outcome outcome = backUp.run();
    EXPECT_EQ(outcome.status, 1) << outcome.err;
    EXPECT_EQ(outcome.out, "Not enough free space on “made”: this sync needs about 4 MB but only 104.9 MB is free.\n");
    EXPECT_TRUE(fs::is_empty(tree / "Home/OneDrive/made"));
}

TEST_F(ModelCommands, ANameThatOneDriveCannotStoreIsRefusedForAFolderThatACommandNames) {
    tree.dir("Home/OneDrive/c:d/there");
    std::string refusal =
        "OneDrive can't store that folder name (it can't hold \" * : < > ? \\ | or end with a space). "
        "Choose another name.\n";
    for (const char *backup : {"OneDrive/c:d", "OneDrive/c:d/there", "OneDrive/what?/../what?"}) {
        const std::string folders = " @/Home/Notes @/Home/" + std::string(backup);
        EXPECT_EQ(told("--add" + folders, 2), refusal);
        EXPECT_EQ(told("--backup" + folders, 2), refusal);
    }
    EXPECT_EQ(told("--backup @/Home/Notes @/Home/not:OneDrive"), "1 file copied (4 bytes)\n");
}

TEST_F(ModelCommands, TheOneDriveFolderIsShownAndChosen) {
    tree.dir("Home/OneDrive-Work");
    EXPECT_EQ(told("--onedrive"), "~/OneDrive · in use\n~/OneDrive-Work\n");
    EXPECT_EQ(told("--onedrive @/Home/OneDrive-Work/."), "~/OneDrive-Work · in use\n");
    EXPECT_EQ(settings().oneDriveRootPath, QString::fromStdString(tree / "Home/OneDrive-Work"));
    EXPECT_EQ(told("--onedrive @/Home/none", 2), "“none” can't be the OneDrive folder: it isn't a folder.\n");
    EXPECT_EQ(told("--onedrive a b", 2), "usage: tarnwick-basic --onedrive [FOLDER]\n");
    EXPECT_EQ(told("--onedrive @/Volumes"), inTree("@/Volumes · chosen by hand · in use\n"));
    fs::rename(tree / "Home/OneDrive", tree / "Home/Cloud");
    fs::rename(tree / "Home/OneDrive-Work", tree / "Home/Work");
    told("--onedrive @/Home/Work");
    fs::remove(tree / "Home/Work");
    EXPECT_EQ(told("--onedrive"), "OneDrive wasn't found (~/Work). Start your OneDrive client, or choose your OneDrive "
                                  "folder in Settings.\n");
}

TEST_F(ModelCommands, NothingIsMadeBelowABareMountPoint) {
    if (const auto reason = LoopMount::whyNot(LoopMount::Type::Tmpfs))
        GTEST_SKIP() << *reason;
    const std::string away = "OneDrive isn't mounted (~/OneDrive). Start your OneDrive client, then sync again.\n";
    {
        const Mount mount("tmpfs", tree / "Home/OneDrive", "tmpfs", "size=900m");
        told("--list");
        EXPECT_FALSE(settings().oneDriveMountPoint) << "a list only looks";
        EXPECT_EQ(told("--sync"), "2 files copied (11 bytes)\n");
    }
    EXPECT_EQ(told("--sync", 2), "“Photos” was skipped: " + away);
    EXPECT_EQ(told("--add @/Home/Notes @/Home/OneDrive/N", 2), away);
    EXPECT_EQ(told("--backup @/Home/Notes @/Home/OneDrive/N", 1), "1 problem\nNotes: " + away);
    EXPECT_EQ(told("--backup @/Home/Notes @/Home/OneDrive/N --dry-run", 1), "Nothing would be copied\nNotes: " + away);
    EXPECT_EQ(told("--onedrive"), "~/OneDrive\n" + away);
    EXPECT_EQ(told("--list"), "1. Photos (Stick) → OneDrive/Photos · OneDrive isn't mounted\n"
                              "2. Notes (This computer) → OneDrive/Notes · OneDrive isn't mounted\n" +
                                  away);
    EXPECT_TRUE(fs::is_empty(tree / "Home/OneDrive"));
}

TEST_F(ModelCommands, ASyncThatCameTooEarlyRunsWhenOneDriveIsMounted) {
    if (const auto reason = LoopMount::whyNot(LoopMount::Type::Tmpfs))
        GTEST_SKIP() << *reason;
    std::optional<Mount> mount(std::in_place, "tmpfs", tree / "Home/OneDrive", "tmpfs", "size=900m");
    told("--sync");
    mount->lazyUnmount();
    fs::rename(tree / "Volumes/Stick", tree / "away");
    tree.file("away/Photos/late.jpg");
    std::future<std::string> printed = std::async(std::launch::async, [&] { return told("--apptest 5"); });
    const auto until = [&](const std::string &line) {
        while (log().find(line) == std::string::npos &&
               printed.wait_for(std::chrono::milliseconds(10)) != std::future_status::ready) {
        }
    };
    for (int i = 0; log().find("Ping") == std::string::npos && i < 500; ++i) { // until it is heard
        tree.dir("Volumes/Ping " + std::to_string(i));
        printed.wait_for(std::chrono::milliseconds(10));
    }
    fs::rename(tree / "away", tree / "Volumes/Stick");
    until("Sync waits until OneDrive is mounted (driveConnected)");
    mount.emplace("tmpfs", tree / "Home/OneDrive", "tmpfs", "size=900m");
    EXPECT_NE(printed.get().find("SYNC [driveConnected] Photos: 2 files copied"), std::string::npos);
}

TEST_F(ModelCommands, ASyncKeepsOthersOutAndOnceStoppedIsRecordedAsCancelled) {
    if (const std::optional<std::string> reason = FileGate::whyNot())
        GTEST_SKIP() << *reason;
    for (int i = 0; i < 500; ++i)
        tree.file("Volumes/Stick/Photos/" + std::to_string(i));
    Program sync = program("--sync --json");
    sync.words.insert(sync.words.begin(), {"sh", "-c", "echo $$ >\"$0\"; exec \"$@\"", tree / "pid"});
    std::atomic<int> signal = 0;
    const FileGate gate({tree / "Volumes/Stick/Photos"}, [&](auto, auto) {
        if (const int due = signal.exchange(0)) {
            expectOthersAreKeptOut();
            ::kill(std::stoi(tree.read("pid")), due);
        }
        return 0;
    });
    for (const int each : {SIGINT, SIGTERM}) {
        signal = each;
        const Program::Outcome outcome = sync.run();
        EXPECT_EQ(outcome.status, 130);
        EXPECT_EQ(history().front(), recordOf(outcome.out));
        EXPECT_EQ(settings().pairs[0].lastSummary, QStringLiteral("Cancelled"));
    }
    told("--sync");
    EXPECT_TRUE(tree.snapshot("Home/OneDrive/Photos") == tree.snapshot("Volumes/Stick/Photos"));
}

TEST_F(ModelCommands, ADriveThatAppearsBringsItsFoldersBackAndIsSynced) {
    EXPECT_EQ(told("--apptest 0"), "PAIRS Photos→Photos | Notes→Notes\n"); // leaves the profile
    fs::rename(tree / "Volumes/Stick", tree / "away");
    told("--remove Photos");
    std::future<std::string> printed = std::async(std::launch::async, [&] { return told("--apptest 3"); });
    for (int i = 0; log().empty() && printed.wait_for(std::chrono::milliseconds(10)) != std::future_status::ready; ++i)
        tree.dir("Volumes/Ping " + std::to_string(i)); // until it is heard
    expectOthersAreKeptOut();
    fs::rename(tree / "away", tree / "Volumes/Stick");
    EXPECT_EQ(std::regex_replace(printed.get(), std::regex("t=[0-9]+s"), "t"),
              "[t] BANNER Brought back your folder choices for “Stick”. Check them below.\n"
              "[t] SYNC [driveConnected] Photos: 1 file copied (7 bytes)\n"
              "PAIRS Notes→Notes | Photos→Photos\n");
    EXPECT_FALSE(fs::exists(tree / "Home/OneDrive/Notes"));
}

TEST_F(ModelCommands, TheSettingsFolderOfATestIsTakenAsItStands) {
    const auto toldIn = [&](const char *folder, const char *line, const std::map<std::string, std::string> &variables) {
        Program result = program(line);
        result.words.insert(result.words.begin(), {"env", "-C", tree / folder, "HOME=" + (tree / "home").native()});
        result.environment = variables;
        return result.run().out;
    };
    EXPECT_EQ(toldIn("home", "--apptest 1", {}), "set TARNWICK_SUPPORT_DIR or TARNWICK_TEST_ROOT\n");
    EXPECT_EQ(toldIn("home", "--version --apptest", {}).find("Tarnwick Basic 1"), 0U);
    EXPECT_EQ(tree.snapshot("home"), Snapshot());
    EXPECT_EQ(toldIn("Support", "--apptest 0", {{"TARNWICK_SUPPORT_DIR", ""}}), "PAIRS Photos→Photos | Notes→Notes\n");
    toldIn("", "--sync", {{"TARNWICK_SUPPORT_DIR", "Support"}, {"TARNWICK_TEST_ROOT", tree.top()}});
    EXPECT_EQ(history().size(), 1U);
}

} // namespace

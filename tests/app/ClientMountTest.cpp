#include "app/ProgramTest.h"
#include "support/LoopMount.h"
#include "support/ServedMount.h"
#include "sync/FileGate.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <optional>
#include <thread>

#include <sys/xattr.h>
#include <unistd.h>

namespace {

using Lines = std::vector<std::string>;

/// Serves "remote" as a client serves the cloud, with what waits for its upload in "cache".
Lines rclone(const std::string &mode, const std::string &wait = "500ms") {
    return {"rclone",      "mount",   "@/remote",         "@/OneDrive", "--config",         "",
            "--cache-dir", "@/cache", "--vfs-cache-mode", mode,         "--vfs-write-back", wait};
}

/// Serves "remote" with calls that answer as tests/app/odd-mount says.
Lines odd(const Lines &answers) {
    Lines words = {TARNWICK_ODD_MOUNT, "@/remote", "@/OneDrive"};
    words.insert(words.end(), answers.begin(), answers.end());
    return words;
}

/// "OneDrive" is a mount that another process serves.
class ClientMount : public ProgramTest {
  protected:
    static constexpr std::int64_t filesToCopy = 304; ///< of what makeFiles() makes

    void SetUp() override {
        const char *probe = "type rclone fusefat mkfs.vfat && /usr/bin/python3 -c 'import fusepy'";
        if (const auto reason = ServedMount::whyNot(probe))
            GTEST_SKIP() << *reason;
        tree.dir("remote");
    }

    void serve(Lines words) {
        std::transform(words.begin(), words.end(), words.begin(), [this](auto &word) { return inTree(word); });
        mount.reset();
        mount.emplace(words, tree / "OneDrive");
    }

    /// Originals of many kinds, and in the backup on this `side` an older version of one and a newer one of another.
    void makeFiles(const std::string &side, const std::string &letter = "ä") {
        for (int i = 0; i < 300; ++i) {
            const std::string folder = i % 3 == 0   ? ""
                                       : i % 3 == 1 ? "sub/"
                                                    : "sub/deep " + letter + "/" + letter + "/";
            const std::size_t size = i % 5 == 0 ? 0 : static_cast<std::size_t>(i * i);
            tree.file("Photos/" + folder + std::to_string(i) + (i % 2 ? letter : " ") + ".jpg",
                      std::string(size, static_cast<char>('a' + i % 26)), {someTime.seconds - i * 999, i * 3'333'333});
        }
        tree.file("Photos/large.mov", std::string(3'000'000, 'x'));
        tree.file("Photos/unlucky.jpg", std::string(4711, 'u'));
        tree.file("Photos/private.jpg", "another's");
        const fs::path foreign = tree / "Photos/private.jpg";
        EXPECT_EQ(::setxattr(foreign.c_str(), "user.colour", "red", 3, 0), 0);
        fs::permissions(foreign, fs::perms(0400)); // after that, as an ordinary user may set no attribute any more
        EXPECT_EQ(::geteuid() == 0 ? ::chown(foreign.c_str(), 1234, 1234) : 0, 0);
        tree.file("Photos/changed.jpg", "second version", later(someTime, 100));
        tree.file(side + "/Photos/changed.jpg", "first version");
        tree.file("Photos/left.jpg", "older");
        tree.file(side + "/Photos/left.jpg", "newer", later(someTime, 100));
    }

    /// What the remote holds once everything is uploaded.
    Snapshot complete() const {
        Snapshot all = {{"Photos", "dir"}};
        for (const auto &[path, facts] : tree.snapshot("Photos"))
            all["Photos/" + path] = facts;
        return all;
    }

    SyncRun run(int status) const {
        Program program = backUp({"--json"});
        program.words.insert(program.words.begin(), {"timeout", "120"});
        const Program::Outcome outcome = program.run();
        EXPECT_EQ(outcome.status, status) << outcome.err;
        return recordOf(outcome.out);
    }

    /// Waits for the uploads, whose end shows nowhere else.
    void expectIn(const std::string &side, const Snapshot &expected) const {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
        std::vector<std::pair<std::string, std::string>> differences;
        const auto differ = [&] {
            differences.clear();
            try {
                std::ranges::set_symmetric_difference(comparable(tree.snapshot(side)), comparable(expected),
                                                      std::back_inserter(differences));
                return !differences.empty();
            } catch (const std::exception &) {
                return true; // something went while it was looked at
            }
        };
        while (differ() && std::chrono::steady_clock::now() < deadline && !HasFailure())
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
        EXPECT_FALSE(differ()) << testing::PrintToString(differences) << " in " << side;
    }

    std::optional<ServedMount> mount;
    bool keepsDates = true;

  private:
    /// Without the dates where they aren't kept.
    Snapshot comparable(Snapshot items) const {
        for (auto &[path, facts] : items)
            facts.erase(0, keepsDates ? 0 : facts.find(' ') + 1);
        return items;
    }
};

struct Row {
    std::string name;
    Lines words;
    Lines told = {};
    int failures = 0;
    std::size_t keptNewer = 1; ///< by the second run
};

class OneDriveOn : public ClientMount, public testing::WithParamInterface<Row> {};

TEST_P(OneDriveOn, HoldsEveryFileWithItsDateAndNothingElse) {
    const Row &row = GetParam();
    keepsDates = row.keptNewer == 1;
    makeFiles("remote");
    Snapshot expected = complete();
    expected["Photos/left.jpg"] = tree.snapshot("remote/Photos").at("left.jpg");
    if (row.failures != 0)
        expected.erase("Photos/unlucky.jpg");
    serve(row.words);
    const SyncRun first = run(row.failures);
    EXPECT_EQ(toldBy(first), row.told);
    EXPECT_EQ(first.filesCopied, filesToCopy - row.failures);
    expectIn("remote", expected);
    expectIn("OneDrive", expected);
    EXPECT_EQ(leftovers(), Lines());

    const SyncRun second = run(row.failures);
    EXPECT_EQ(second.filesCopied, 0);
    EXPECT_EQ(second.keptNewer.size(), row.keptNewer);
    mount.reset();
    expectIn("remote", expected);
}

const std::string noDates = "Photos: the backup's disk didn't keep the date of 304 copied files. They count as newer "
                            "there, so later changes to them will be left alone.";

INSTANTIATE_TEST_SUITE_P(
    Mounts, OneDriveOn,
    testing::Values(Row{"RcloneWithoutACache", rclone("off")}, Row{"RcloneWithAMinimalCache", rclone("minimal")},
                    Row{"RcloneWithACacheForWrites", rclone("writes")}, Row{"RcloneWithAFullCache", rclone("full")},
                    Row{"WhatForgetsDatesInARename", odd({"rename=now"})},
                    Row{"WhatTakesNoDatesAfterTheRename", odd({"utimens-late=nothing"})},
                    Row{"WhatKnowsNoDates", odd({"utimens=nothing"}), {noDates}, 0, 305},
                    Row{"WhatKnowsNeitherModesNorOwners", odd({"chmod=ENOSYS", "chown=ENOSYS", "setxattr=ENOSYS"})},
                    Row{"WhatKnowsNeitherLinksNorExclusiveRenames", odd({"link=EIO"})},
                    Row{"WhatKnowsNoFlush", odd({"fsync=EINVAL"})},
                    Row{"WhatCantStoreOneFile", odd({"flush-4711=EIO"}), {"Photos/unlucky.jpg: Input/output error"}, 1},
                    Row{"WhatCantRenameOverAFile", odd({"rename-over=EEXIST"})}),
    [](const auto &row) { return row.param.name; });

TEST_F(ClientMount, FatHasTheDatesToTwoSecondsOnceItIsMountedAnew) {
    ASSERT_EQ(std::system(inTree("PATH=$PATH:/usr/sbin:/sbin mkfs.vfat -C @/image 900000 >@/log").c_str()), 0);
    const Lines fat = {"fusefat", "-f", "-o", "rw+", "@/image", "@/OneDrive"};
    keepsDates = false; // not all of them: the second run compares them
    serve(fat);
    makeFiles("OneDrive", "a"); // fusefat takes no other letters
    for (const std::int64_t copies : {filesToCopy, std::int64_t(0), std::int64_t(1)}) {
        if (copies == 1)
            tree.file("Photos/large.mov", "small now", later(someTime, 100));
        Snapshot expected = complete();
        expected["Photos/left.jpg"] = tree.snapshot("OneDrive/Photos").at("left.jpg");
        const SyncRun result = run(0);
        EXPECT_EQ(result.filesCopied, copies);
        EXPECT_EQ(toldBy(result), Lines());
        EXPECT_EQ(result.keptNewer.size(), 1U);
        serve(fat);
        expectIn("OneDrive", expected);
    }
}

/// What goes wrong on a mount by rclone in one of its cache modes.
class Rclone : public ClientMount, public testing::WithParamInterface<const char *> {
  protected:
    void SetUp() override {
        ClientMount::SetUp();
        if (const auto reason = FileGate::whyNot())
            GTEST_SKIP() << *reason;
        for (int i = 0; i < 8; ++i)
            tree.file("Photos/" + std::to_string(i) + ".mov", std::string(600'000, static_cast<char>('a' + i)));
    }
};

TEST_P(Rclone, CopiesThatFailLeaveNothingBehind) {
    serve(rclone(GetParam()));
    Snapshot expected = complete();
    expected.erase("Photos/4.mov");
    expected.erase("Photos/5.mov");
    {
        const FileGate gate({tree / "Photos"}, [reads = 0](auto event, const std::string &name) mutable {
            if (event != FileGate::Event::Read)
                return 0;
            return name == "5.mov" || (name == "4.mov" && ++reads > 2) ? EIO : 0;
        });
        Lines told = toldBy(run(1));
        for (std::string &line : told)
            line.erase(line.find(':')); // an older kernel knows no EIO here
        EXPECT_EQ(told, (Lines{"Photos/4.mov", "Photos/5.mov"}));
    }
    expectIn("remote", expected);
    EXPECT_EQ(leftovers(), Lines());
    EXPECT_EQ(run(0).filesCopied, 2);
    expectIn("remote", complete());
}

TEST_P(Rclone, KilledInMidCopyEndsTheRunAndEveryFileIsWhole) {
    const bool hasCache = std::string(GetParam()) != "off";
    keepsDates = !hasCache; // rclone may have been about to write one down
    serve(rclone(GetParam(), "1h"));
    SyncRun first;
    {
        const FileGate gate({tree / "Photos"}, [&, reads = 0](auto event, const std::string &) mutable {
            reads += event == FileGate::Event::Read;
            if (reads == 18)
                mount->kill();
            return 0;
        });
        first = run(1);
    }
    EXPECT_EQ(toldBy(first), Lines{"The backup folder for “Photos” disappeared during the sync."});
    EXPECT_FALSE(first.changes.empty());
    const Snapshot original = complete();
    const Snapshot remote = tree.snapshot("remote");
    for (const auto &[path, facts] : remote) {
        if (path.find(".tw-") == std::string::npos) {
            EXPECT_EQ(facts, original.at(path)) << path << " isn't whole";
        }
    }
    for (std::size_t i = 0; !hasCache && i < first.changes.size(); ++i)
        EXPECT_TRUE(remote.contains("Photos/" + first.changes[i].relPath.toStdString())) << i;
    serve(rclone(GetParam()));
    run(0);
    expectIn("remote", original);
}

INSTANTIATE_TEST_SUITE_P(Modes, Rclone, testing::Values("off", "minimal", "writes", "full"),
                         [](const auto &row) { return row.param; });

TEST_F(ClientMount, WithoutACacheNothingIsToldThatWasNotUploaded) {
    if (const auto reason = LoopMount::whyNot(LoopMount::Type::Tmpfs))
        GTEST_SKIP() << *reason;
    const Mount small("tmpfs", tree / "remote", "tmpfs", "size=1g,nr_inodes=20");
    for (int i = 0; i < 40; ++i)
        tree.file("Photos/" + std::to_string(i), std::string(i % 2 * 5000, 'x'));
    serve(rclone("off"));
    const SyncRun result = run(1);
    EXPECT_FALSE(result.changes.empty());
    Snapshot expected = {{"Photos", "dir"}};
    for (const ChangeRecord &change : result.changes)
        expected.insert(*complete().find("Photos/" + change.relPath.toStdString()));
    expectIn("remote", expected);
}

} // namespace

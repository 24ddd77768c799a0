#include "app/ProgramTest.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <iostream>
#include <ostream>
#include <random>
#include <thread>

#include <sys/statvfs.h>

namespace {

using namespace std::chrono;

/// A number from the environment; what tests/app/kill-many sets.
int setting(const char *name, int otherwise) {
    const char *value = std::getenv(name);
    return value ? std::atoi(value) : otherwise;
}

enum class Staging { InTheTemporaryFolder, BesideTheTarget };

void PrintTo(Staging staging, std::ostream *out) {
    *out << (staging == Staging::BesideTheTarget ? "staged beside the target"
                                                 : "staged in the temporary folder");
}

/// Puts temporary folders into memory where there is room: a kill isn't a power cut, and most of it would hit
/// a run that waits for the disk.
class InMemory {
  protected:
    InMemory() {
        struct statvfs facts = {};
        if (::statvfs("/dev/shm", &facts) == 0 && facts.f_bavail * facts.f_frsize > 500'000'000)
            ::setenv("TMPDIR", "/dev/shm", 1);
    }
    ~InMemory() {
        if (before)
            ::setenv("TMPDIR", before->c_str(), 1);
        else
            ::unsetenv("TMPDIR");
    }

  private:
    std::optional<std::string> before =
        std::getenv("TMPDIR") ? std::optional<std::string>(std::getenv("TMPDIR")) : std::nullopt;
};

/// A tree of many files whose content and date tell which version they are. Between the kills some of them
/// get a new version and some new ones appear.
class Kill : InMemory, public ProgramTest, public testing::WithParamInterface<Staging> {
  protected:
    static constexpr int absent = -1;
    static constexpr int smallFiles = 2000;
    static constexpr int largeFiles = 4;
    static constexpr std::size_t largeSize = 3'000'000;

    Kill() {
        for (int i = 0; i < smallFiles + largeFiles; ++i)
            addFile();
    }

    struct File {
        std::string path;
        std::size_t size;
        int original = 0;
        int backup = absent;
    };

    static std::string contentOf(const File &file, int version) {
        std::string content(file.size + static_cast<std::size_t>(version % 3),
                            static_cast<char>('a' + version % 26));
        const std::string label = file.path + " version " + std::to_string(version) + '\n';
        return content.replace(0, std::min(label.size(), content.size()), label);
    }
    static FileTime dateOf(int version) { return {someTime.seconds + 1000 * version, 123'456'789}; }

    void addFile() {
        const std::size_t number = files.size();
        const bool isLarge = number % ((smallFiles + largeFiles) / largeFiles) == 7;
        const std::string folder = "Folder " + std::to_string(number % 40) + "/" + std::to_string(number % 3);
        files.push_back(
            {folder + "/" + std::to_string(number) + ".jpg", isLarge ? largeSize : anyNumber() % 8'000 + 60});
        write(files.back());
    }

    void write(const File &file) {
        tree.file("Photos/" + file.path, contentOf(file, file.original), dateOf(file.original));
    }

    void changeSome() {
        for (File &file : files) {
            if (anyNumber() % 4 != 0)
                continue;
            ++file.original;
            write(file);
        }
        for (int i = 0; i < 100; ++i)
            addFile();
    }

    Program run() const {
        Program program = backUp({"--json"});
        if (GetParam() == Staging::BesideTheTarget)
            program.environment["XDG_CACHE_HOME"] = "/dev/null";
        return program;
    }

    void killAtARandomMoment() {
        const auto delay = microseconds(anyNumber() % static_cast<unsigned>(runTime.count()));
        Program program = run();
        program.start();
        std::this_thread::sleep_for(delay); // the moment itself is what is tried out
        program.signal(SIGKILL);
        hits += program.finish().status == 128 + SIGKILL;
    }

    /// Every file of the backup is wholly of the version that it had or of the newest, and nothing else is
    /// there.
    void expectOldOrNew() {
        std::size_t present = 0;
        for (File &file : files) {
            const std::string place = "OneDrive/Photos/" + file.path;
            if (!fs::exists(tree / place)) {
                ASSERT_EQ(file.backup, absent) << file.path << " has gone";
                continue;
            }
            ++present;
            const std::string content = tree.read(place);
            const int version = content == contentOf(file, file.original) ? file.original : file.backup;
            ASSERT_TRUE(version != absent && content == contentOf(file, version))
                << file.path << " is neither";
            ASSERT_EQ(tree.time(place), dateOf(version)) << file.path;
            file.backup = version;
        }
        ASSERT_EQ(regularFilesBesidesLeftovers(), present);
    }

    std::size_t regularFilesBesidesLeftovers() const {
        std::size_t count = 0;
        if (!fs::exists(tree / "OneDrive/Photos"))
            return 0;
        for (const fs::directory_entry &entry : fs::recursive_directory_iterator(tree / "OneDrive/Photos"))
            count += entry.is_regular_file() && !entry.path().filename().native().starts_with(".tw-");
        return count;
    }

    void runToTheEnd() {
        const auto begin = steady_clock::now();
        const Program::Outcome outcome = run().run();
        runTime = duration_cast<microseconds>(steady_clock::now() - begin);
        ASSERT_EQ(outcome.status, 0) << outcome.err;
        expectOldOrNew();
        for (const File &file : files)
            ASSERT_EQ(file.backup, file.original) << file.path;
        ASSERT_EQ(leftovers(), std::vector<std::string>());
    }

    unsigned anyNumber() { return static_cast<unsigned>(random()); }

    std::mt19937 random;
    std::vector<File> files;
    microseconds runTime = milliseconds(150); ///< of the last whole run; at first a guess
    int hits = 0;
};

TEST_P(Kill, AtAnyMomentLeavesEveryFileOldOrNew) {
    const int kills = setting("TARNWICK_KILLS", 20);
    const int seed = setting("TARNWICK_KILL_SEED", static_cast<int>(std::random_device()() >> 1));
    std::cout << "TARNWICK_KILL_SEED=" << seed << std::endl;
    random.seed(static_cast<unsigned>(seed));
    for (int done = 0; done < kills && !HasFatalFailure();) {
        changeSome();
        const Untouched original(tree / "Photos");
        // Some are killed once more before the first run gets through.
        for (unsigned left = anyNumber() % 3 + 1; left > 0 && done < kills && !HasFatalFailure();
             --left, ++done) {
            killAtARandomMoment();
            expectOldOrNew();
        }
        if (!HasFatalFailure())
            runToTheEnd();
        original.expectUntouched();
    }
    std::cout << hits << " of " << kills << " kills hit a running process" << std::endl;
    EXPECT_GT(hits, kills / 3);
}

INSTANTIATE_TEST_SUITE_P(Places, Kill,
                         testing::Values(Staging::InTheTemporaryFolder, Staging::BesideTheTarget));

// Stopped in an orderly way

class Stop : public Kill {};

TEST_P(Stop, EndsTheRunWithARecordAndTheNextOneFinishesIt) {
    for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
        Program program = run();
        program.err = Program::Stream::Terminal;
        program.start();
        ASSERT_TRUE(program.waitUntilDrawn("0 of "));
        program.signal(number);
        const Program::Outcome outcome = program.finish();
        EXPECT_EQ(outcome.status, 130);
        const SyncRun record = recordOf(outcome.out);
        EXPECT_TRUE(record.cancelled);
        EXPECT_FALSE(record.fatal);
        EXPECT_EQ(record.errors.size(), 0U);
        EXPECT_LT(record.filesCopied, static_cast<std::int64_t>(files.size()));
        EXPECT_EQ(static_cast<std::int64_t>(regularFilesBesidesLeftovers()), record.filesCopied);
        EXPECT_EQ(static_cast<std::int64_t>(record.changes.size()) + record.changesOmitted,
                  record.filesCopied);
        EXPECT_EQ(leftovers(), std::vector<std::string>());
        expectOldOrNew();
        fs::remove_all(tree / "OneDrive/Photos");
        for (File &file : files)
            file.backup = absent;
    }
    runToTheEnd();
}

INSTANTIATE_TEST_SUITE_P(Places, Stop,
                         testing::Values(Staging::InTheTemporaryFolder, Staging::BesideTheTarget));

} // namespace

#include "app/ProgramTest.h"
#include "json/Json.h"

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <iostream>
#include <random>

namespace {

using namespace std::chrono;

/// A number from the environment; what tests/app/kill-many sets.
int setting(const char *name, int otherwise) {
    const char *value = std::getenv(name);
    return value ? std::atoi(value) : otherwise;
}

/// Anew in each run, unless it is given.
std::mt19937 randomNumbers() {
    const int seed = setting("TARNWICK_KILL_SEED", static_cast<int>(std::random_device()() >> 1));
    std::cout << "TARNWICK_KILL_SEED=" << seed << std::endl;
    return std::mt19937(static_cast<unsigned>(seed));
}

/// Many small files and some large ones. Between the kills some get a new version and some new ones appear.
class Kill : public ProgramTest, public testing::WithParamInterface<const char *> {
  protected:
    void changeSome() {
        ++version;
        for (int i = 0; i < files; ++i) {
            if (anyNumber() % 4 == 0)
                write(i);
        }
        for (int i = 0; i < 100; ++i)
            write(files++);
    }

    void write(int number) {
        const std::size_t size = number % 500 == 7 ? 3'000'000 : anyNumber() % 8'000;
        tree.file("Photos/Folder " + std::to_string(number % 40) + "/" + std::to_string(number) + ".jpg",
                  std::string(size, static_cast<char>('a' + version % 26)), later(someTime, 1000 * version));
    }

    unsigned anyNumber() { return static_cast<unsigned>(random()); }

    std::mt19937 random = randomNumbers();
    int files = 2000;
    int version = 0;
};

TEST_P(Kill, AtAnyMomentLeavesEveryFileOldOrNew) {
    const int kills = setting("TARNWICK_KILLS", 20);
    Program run = backUp();
    run.environment["XDG_CACHE_HOME"] = GetParam();
    duration<double> runTime = milliseconds(150); // of the last whole run; at first a guess
    int hits = 0;
    for (int done = 0; done < kills && !HasFailure();) {
        changeSome();
        // Some are killed once more before the first run gets through.
        for (unsigned left = anyNumber() % 3 + 1; left > 0 && done < kills; --left, ++done) {
            const Snapshot before = backup();
            const Untouched original(tree / "Photos");
            Program killed = run;
            const std::string delay = std::to_string(runTime.count() * (anyNumber() % 1000) / 1000 + 0.0001);
            killed.words.insert(killed.words.begin(), {"timeout", "-s", "KILL", delay});
            hits += killed.run().status == 128 + SIGKILL;
            original.expectUntouched();
            expectOldOrNew(before);
        }
        const auto begin = steady_clock::now();
        EXPECT_EQ(run.run().status, 0);
        runTime = steady_clock::now() - begin;
        expectComplete();
    }
    std::cout << hits << " of " << kills << " kills hit a running process" << std::endl;
    EXPECT_GT(hits, kills / 3);
}

// Without a cache folder the files are staged beside the target.
INSTANTIATE_TEST_SUITE_P(Places, Kill, testing::Values("", "/dev/null"));

using SettingsKill = ModelTest;

TEST_F(SettingsKill, AtAnyMomentLeavesBothFilesOldOrNew) {
    const std::vector runs(60, SyncRun{.changes = std::vector<ChangeRecord>(200)}); // which take a while to write
    tree.file("Support/history.json", Json::toBytes(runs).toStdString());
    std::map<std::string, double> runTimes; // of the last whole runs
    const auto statusOf = [&](const std::string &line, double limit) {
        Program command = program(line);
        command.words.insert(command.words.begin(), {"timeout", "--foreground", "-s", "KILL", std::to_string(limit)});
        const auto begin = steady_clock::now();
        const int status = command.run().status;
        if (status == 0)
            runTimes[line] = duration<double>(steady_clock::now() - begin).count();
        return status;
    };
    const std::string sync = "--sync", remove = "--remove Notes", add = "--add @/Home/Notes @/Home/OneDrive/Notes";
    for (const std::string &line : {sync, remove, add})
        EXPECT_EQ(statusOf(line, 60), 0);
    std::mt19937 random = randomNumbers();
    std::map<std::string, int> moments;
    const int kills = setting("TARNWICK_KILLS", 20);
    for (int done = 0; done < kills && !HasFailure();) {
        tree.file("Volumes/Stick/Photos/" + std::to_string(random()));
        const AppConfig before = settings();
        const std::vector<SyncRun> past = history();
        const std::string line = random() % 2 == 0 ? sync : before.pairs.size() == 2 ? remove : add;
        // Rather late than early: the writes are at the end.
        const double share = static_cast<double>(std::max(random() % 1200, random() % 1200)) / 1000;
        const int status = statusOf(line, runTimes[line] * share + 0.0001);
        const bool isTooLate = status == 0 || status == 124; // 124: it ended just as its time was up
        const bool isOld = settings() == before;
        const std::vector<SyncRun> now = history();
        const bool isHalf = (line == sync && isOld != (now == past)) || fs::exists(tree / "Support/.config.json.tmp") ||
                            fs::exists(tree / "Support/.history.json.tmp");
        ++moments[isTooLate ? "too late" : isHalf ? "during the writes" : isOld ? "before them" : "after them"];
        done += !isTooLate;
        EXPECT_EQ(settings().pairs.at(0).id, before.pairs[0].id);
        EXPECT_TRUE(isTooLate || status == 128 + SIGKILL) << status;
        EXPECT_TRUE(now == past || std::equal(past.begin(), past.end() - 1, now.begin() + 1, now.end()));
        EXPECT_EQ(program("--list --json").run().status, 0);
        EXPECT_EQ(statusOf(sync, 60), 0);
        EXPECT_FALSE(history() == now);
        EXPECT_EQ(std::distance(fs::directory_iterator(tree / "Support"), {}), 3) << "something is left over";
    }
    for (const auto &[moment, count] : moments)
        std::cout << count << " kills came " << moment << std::endl;
    EXPECT_GT(moments["during the writes"] + moments["after them"], 0);
}

} // namespace

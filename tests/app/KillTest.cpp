#include "app/ProgramTest.h"

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

    std::mt19937 random;
    int files = 2000;
    int version = 0;
};

TEST_P(Kill, AtAnyMomentLeavesEveryFileOldOrNew) {
    const int kills = setting("TARNWICK_KILLS", 20);
    const int seed = setting("TARNWICK_KILL_SEED", static_cast<int>(std::random_device()() >> 1));
    std::cout << "TARNWICK_KILL_SEED=" << seed << std::endl;
    random.seed(static_cast<unsigned>(seed));
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

} // namespace

#include "selftest/Checks.h"

#include <QElapsedTimer>
#include <QEventLoop>
#include <QTimer>

#include <cstdio>

namespace Checks {

namespace {

std::size_t passed = 0;
std::vector<std::string> failures;
std::string currentSuite;

bool turnUntil(const std::function<bool()> &condition, double seconds) {
    QElapsedTimer timer;
    for (timer.start(); !condition() && static_cast<double>(timer.elapsed()) < seconds * 1000;) {
        QEventLoop slice;
        QTimer::singleShot(50, Qt::PreciseTimer, &slice, &QEventLoop::quit);
        slice.exec();
    }
    return condition();
}

} // namespace

void print(const std::string &line) {
    std::puts(line.c_str());
    std::fflush(stdout);
}

void begin(const std::string &title) {
    currentSuite = title;
    print("\n== " + title);
}

void check(bool condition, const std::string &label) {
    if (condition) {
        ++passed;
        return;
    }
    failures.push_back('[' + currentSuite + "] " + label);
    print("  FAIL  " + label);
}

void settle(double seconds) {
    turnUntil([] { return false; }, seconds);
}

void waitUntil(const std::function<bool()> &condition, const std::string &label, double seconds) {
    check(turnUntil(condition, seconds), label);
}

void waitIdle(const AppModel &model, const std::string &label, double seconds) {
    waitUntil([&] { return !model.busy(); }, label + ": the sync finished", seconds);
}

void waitForDisks(const AppModel &model) {
    waitUntil([&] { return !model.isLooking(); }, "the disks answer");
}

std::optional<QString> answerOf(const AppModel &model, const std::function<void(const AppModel::Answer &)> &operation) {
    std::optional<QString> answer;
    bool isAnswered = false;
    operation([&](const std::optional<QString> &refusal) {
        answer = refusal;
        isAnswered = true;
    });
    waitUntil([&] { return isAnswered; }, "the model answers", 40);
    waitForDisks(model);
    return answer;
}

std::optional<QString> added(AppModel &model, const std::filesystem::path &original,
                             const std::filesystem::path &backup) {
    return answerOf(model, [&](const AppModel::Answer &done) { model.addPair(original, backup, done); });
}

bool printSummary() {
    print("\n" + std::string(45, '-'));
    print("Self-test: " + asText(passed) + " checks passed, " + asText(failures.size()) + " failed (" +
          asText(passed + failures.size()) + " total)");
    for (const std::string &failure : failures)
        print("  failed: " + failure);
    return failures.empty();
}

} // namespace Checks

// Times loading and saving of the largest history that can be: 60 runs with 2,000 changes, 500 errors and 1,000 skipped
// items each. Prints the size and the median of five turns of each. Works in a folder of its own.

#include "store/Store.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>

#include <unistd.h>

namespace {

namespace fs = std::filesystem;

QString path(const char *kind, int number) {
    return QString::asprintf("%s/2024/Summer holiday/Été à la mer/IMG_%05d.jpg", kind, number);
}

SyncRun largestRun() {
    SyncRun run;
    const QUuid pair = QUuid::createUuid();
    for (int i = 0; i < 2000; ++i)
        run.changes.push_back({.pairName = QStringLiteral("Photos"),
                               .relPath = path("Photos", i),
                               .path = path("/home/ann/Library/CloudStorage/OneDrive-Personal/Photos", i),
                               .size = 4'000'000 + i,
                               .fromPath = path("/media/ann/Backup/Photos", i),
                               .pairID = pair});
    for (int i = 0; i < 500; ++i)
        run.errors.push_back(path("Photos", i) + QStringLiteral(": Input/output error"));
    for (int i = 0; i < 1000; ++i)
        run.skipped.push_back({.pairID = pair,
                               .pairName = QStringLiteral("Photos"),
                               .relPath = path("Photos", i),
                               .path = path("/media/ann/Backup/Photos", i),
                               .detail = QStringLiteral("IMG_.jpg")});
    return run;
}

double median(const std::function<void()> &work) {
    std::array<double, 5> seconds;
    for (double &turn : seconds) {
        const auto begun = std::chrono::steady_clock::now();
        work();
        turn = std::chrono::duration<double>(std::chrono::steady_clock::now() - begun).count();
    }
    std::sort(seconds.begin(), seconds.end());
    return seconds[seconds.size() / 2];
}

} // namespace

int main() {
    const fs::path folder = fs::temp_directory_path() / ("tarnwick-history-" + std::to_string(::getpid()));
    ::setenv("TARNWICK_SUPPORT_DIR", folder.c_str(), 1);
    const std::vector<SyncRun> history(60, largestRun());
    const double save = median([&] { Store::save(history); });
    std::vector<SyncRun> loaded;
    const double load = median([&] { loaded = Store::loadHistory(); });
    const bool isSame = loaded.size() == history.size() && loaded.back().changes == history.back().changes;
    std::printf("history of %.1f MB: loaded in %.3f s, saved and on the disk in %.3f s\n",
                static_cast<double>(fs::file_size(folder / "history.json")) / 1e6, load, save);
    fs::remove_all(folder);
    return isSame ? 0 : 1;
}

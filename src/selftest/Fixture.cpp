#include "selftest/Fixture.h"

#include "selftest/Checks.h"
#include "store/Log.h"

#include <algorithm>
#include <cmath>
#include <fstream>
#include <iterator>

using namespace Checks;
namespace fs = std::filesystem;

namespace {

using FileClock = fs::file_time_type::clock;
constexpr std::chrono::sys_time<std::chrono::nanoseconds> fixedMoment(std::chrono::seconds(1'600'000'000));

std::string read(const fs::path &file) {
    std::ifstream stream(file, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(stream), {});
}

std::string toldItem(const fs::path &item) {
    if (fs::is_directory(item))
        return "/";
    const std::chrono::duration<double> time = FileClock::to_sys(fs::last_write_time(item)) - fixedMoment;
    const auto size = fs::file_size(item);
    return '=' + (size > 99 ? asText(size) + " bytes" : read(item)) +
           (time.count() == 0 ? "" : '@' + QString::number(time.count(), 'g', 12).toStdString());
}

} // namespace

void Fixture::reset() const {
    AppModel::flushHistory(std::chrono::seconds(5));
    AppModel::flushProfiles(std::chrono::seconds(5));
    Log::shared().flush(std::chrono::seconds(5));
    fs::remove(Log::shared().url());
    for (const char *folder : {"Home/Library/CloudStorage", "Volumes", "Home/Documents", "Support"}) {
        fs::remove_all(*this / folder);
        fs::create_directories(*this / folder);
    }
    fs::create_directories(oneDrive());
}

SyncRun Fixture::backUp(const SyncRules &rules, const ProgressReporter::Report &report) const {
    const SyncJob job{QUuid::createUuid(), QStringLiteral("Photos"), drive("Photos"), oneDrive("Photos"), rules};
    const CancelToken token;
    return SyncRunner({job}, token, SyncTrigger::manual, report).perform();
}

bool Fixture::logged(const std::string &message) {
    Log::shared().flush(std::chrono::seconds(5));
    return read(Log::shared().url()).find("  " + message + '\n') != std::string::npos;
}

void Fixture::put(const Path &folder, const std::string &items) {
    fs::create_directories(folder);
    for (const QString &item : QString::fromStdString(items).split(QStringLiteral(" | "), Qt::SkipEmptyParts)) {
        const Path path = folder / item.section(u'=', 0, 0).toStdString();
        fs::create_directories(path.parent_path());
        if (item.endsWith(u'/'))
            continue;
        std::ofstream(path, std::ios::binary) << item.section(u'=', 1).section(u'@', 0, 0).toStdString();
        const std::chrono::nanoseconds time(std::llround(item.section(u'@', 1).toDouble() * 1e9));
        fs::last_write_time(path, FileClock::from_sys(fixedMoment + time));
    }
}

std::string Fixture::tree(const Path &folder) {
    std::vector<std::string> items;
    std::error_code missing; // a folder that isn't there has no items
    for (const fs::directory_entry &entry : fs::recursive_directory_iterator(folder, missing))
        items.push_back(entry.path().lexically_relative(folder).native() + toldItem(entry.path()));
    std::sort(items.begin(), items.end());
    return asText(items);
}

std::string Fixture::told(const SyncRun &run) {
    std::vector<QString> lines;
    for (const SkippedItem &item : run.skipped)
        lines.push_back(item.relPath + u'→' + item.detail);
    for (const std::vector<QString> &list : {run.errors, run.conflicts, run.keptNewer})
        lines.insert(lines.end(), list.begin(), list.end());
    std::sort(lines.begin(), lines.end()); // within a folder their order is the file system's affair
    lines.insert(lines.begin(), run.headline());
    lines.insert(lines.end(), run.notes.begin(), run.notes.end());
    return asText(lines);
}

void carryOut(const std::vector<Scenario> &scenarios, const Fixture &world) {
    for (const Scenario &scenario : scenarios) {
        const std::string label = std::string(scenario.situation) + ": ";
        const SyncRules rules{.fatTimeQuirk = scenario.onFat};
        world.reset();
        Fixture::put(world.drive("Photos"), scenario.original);
        Fixture::put(world.oneDrive("Photos"), scenario.backup);
        const std::string before = Fixture::tree(world.drive());
        eq(Fixture::told(world.backUp(rules)), scenario.record, label + "the record");
        eq(Fixture::tree(world.oneDrive("Photos")), scenario.backupAfterwards, label + "the backup");
        eq(Fixture::tree(world / "Home/.cache/TemporaryItems"), "", label + "no temporary file is left");
        const SyncRun second = world.backUp(rules);
        eq(second.filesCopied + second.foldersCreated, 0, label + "a second sync has nothing to do");
        eq(Fixture::tree(world.drive()), before, label + "the original is untouched");
    }
}

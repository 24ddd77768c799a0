#include "app/ProgramTest.h"

#include "records/Json.h"

#include <sstream>

#include <fcntl.h>
#include <sys/stat.h>

ProgramTest::ProgramTest() {
    tree.dir("Photos");
    tree.dir("OneDrive");
    tree.dir("home");
}

Program ProgramTest::program(const std::vector<std::string> &arguments) const {
    Program program;
    program.arguments = arguments;
    program.environment = {{"HOME", tree / "home"}};
    return program;
}

Program ProgramTest::backUp(const std::vector<std::string> &options) const {
    std::vector<std::string> arguments = {"--backup", tree / "Photos", tree / "OneDrive/Photos"};
    arguments.insert(arguments.end(), options.begin(), options.end());
    return program(arguments);
}

std::vector<std::string> ProgramTest::leftovers() const {
    std::vector<std::string> found;
    for (const char *side : {"OneDrive", "home"}) {
        for (const fs::directory_entry &entry : fs::recursive_directory_iterator(tree / side)) {
            const std::string name = entry.path().filename();
            if (name.starts_with(".tw-") || name.find("NSIRD_") != std::string::npos)
                found.push_back(entry.path().lexically_relative(tree.top()));
        }
    }
    return found;
}

SyncRun ProgramTest::recordOf(const std::string &printed) {
    const QByteArray document = QByteArray::fromStdString(printed);
    SyncRun run = Json::fromBytes<SyncRun>(document);
    EXPECT_EQ(printed, (Json::toBytes(run) + '\n').toStdString()) << "the layout of the program's own files";
    return run;
}

Untouched::Untouched(const fs::path &folder) : top(folder) {
    std::vector<fs::path> items = {top};
    for (const fs::directory_entry &entry : fs::recursive_directory_iterator(top))
        items.push_back(entry.path());
    for (const fs::path &item : items) {
        const timespec times[] = {later(someTime, -1000).toTimespec(), {0, UTIME_OMIT}};
        ::utimensat(AT_FDCWD, item.c_str(), times, AT_SYMLINK_NOFOLLOW);
        before[item] = factsOf(item);
    }
}

std::string Untouched::factsOf(const fs::path &path) {
    struct stat facts = {};
    if (::lstat(path.c_str(), &facts) != 0)
        return "missing";
    std::ostringstream text;
    text << facts.st_ino << ' ' << std::oct << facts.st_mode << std::dec << ' ' << facts.st_nlink << ' '
         << facts.st_uid << ' ' << facts.st_gid << ' ' << facts.st_size;
    for (const timespec &time : {facts.st_atim, facts.st_mtim, facts.st_ctim})
        text << ' ' << time.tv_sec << '.' << time.tv_nsec;
    return text.str();
}

void Untouched::expectUntouched() const {
    std::map<fs::path, std::string> now;
    for (const auto &[item, facts] : before)
        now[item] = factsOf(item);
    for (const fs::directory_entry &entry : fs::recursive_directory_iterator(top))
        now.try_emplace(entry.path(), "new");
    std::string changes;
    for (const auto &[item, facts] : now) {
        const auto old = before.find(item);
        if (old == before.end() || old->second != facts)
            changes +=
                item.native() + ": " + (old == before.end() ? "" : old->second) + " -> " + facts + '\n';
    }
    EXPECT_EQ(changes.substr(0, 1000), "");
}

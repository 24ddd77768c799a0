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
    for (const fs::directory_entry &entry : fs::recursive_directory_iterator(tree.top())) {
        const std::string name = entry.path().filename();
        if (name.starts_with(".tw-") || name.find("NSIRD_") != std::string::npos)
            found.push_back(entry.path().lexically_relative(tree.top()));
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
    for (const auto &[item, facts] : before)
        EXPECT_EQ(factsOf(item), facts) << item;
    std::size_t count = 1;
    for (const fs::directory_entry &entry : fs::recursive_directory_iterator(top)) {
        EXPECT_TRUE(before.contains(entry.path())) << entry.path();
        ++count;
    }
    EXPECT_EQ(count, before.size());
}

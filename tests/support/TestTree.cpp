#include "support/TestTree.h"

#include <cerrno>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

[[noreturn]] void fail(const fs::path &path) {
    throw std::system_error(errno, std::generic_category(), path.native());
}

FileTime timeOf(const fs::path &path) {
    struct stat facts = {};
    if (::lstat(path.c_str(), &facts) != 0)
        fail(path);
    return {facts.st_mtim.tv_sec, static_cast<std::int32_t>(facts.st_mtim.tv_nsec)};
}

std::string contentOf(const fs::path &path) {
    std::ifstream stream(path, std::ios::binary);
    std::ostringstream content;
    if (!stream || (stream.peek() != EOF && !(content << stream.rdbuf())))
        fail(path);
    return std::move(content).str();
}

std::string describe(const fs::path &path) {
    switch (fs::symlink_status(path).type()) {
    case fs::file_type::directory:
        return "dir";
    case fs::file_type::symlink:
        return "link to " + fs::read_symlink(path).native();
    case fs::file_type::regular: {
        const FileTime time = timeOf(path);
        std::string content = contentOf(path);
        if (content.size() > 200) // which nobody would read
            content = std::to_string(content.size()) + " bytes #" + std::to_string(std::hash<std::string>()(content));
        return std::to_string(time.seconds) + '.' + std::to_string(time.nanoseconds) + ' ' + content;
    }
    default:
        return "other";
    }
}

} // namespace

fs::path freshFolder(const fs::path &below) {
    std::string pattern = below / "tarnwick-test-XXXXXX";
    if (!::mkdtemp(pattern.data()))
        fail(pattern);
    return pattern;
}

TestTree::~TestTree() {
    std::error_code error;
    if (isOwn)
        fs::remove_all(folder, error);
}

void TestTree::file(const std::string &relative, const std::string &content, FileTime mtime) {
    const fs::path path = folder / relative;
    fs::create_directories(path.parent_path());
    std::ofstream stream(path, std::ios::binary | std::ios::trunc);
    stream << content << std::flush;
    if (!stream)
        fail(path);
    stream.close();
    setTime(relative, mtime);
}

void TestTree::sparseFile(const std::string &relative, std::int64_t size, FileTime mtime) {
    file(relative, "", mtime);
    fs::resize_file(folder / relative, static_cast<std::uintmax_t>(size));
    setTime(relative, mtime);
}

void TestTree::dir(const std::string &relative) {
    fs::create_directories(folder / relative);
}

void TestTree::link(const std::string &relative, const std::string &target) {
    fs::create_directories((folder / relative).parent_path());
    fs::create_symlink(target, folder / relative);
}

void TestTree::setTime(const std::string &relative, FileTime mtime) {
    const timespec times[] = {mtime.toTimespec(), mtime.toTimespec()};
    if (::utimensat(AT_FDCWD, (folder / relative).c_str(), times, AT_SYMLINK_NOFOLLOW) != 0)
        fail(folder / relative);
}

std::string TestTree::read(const std::string &relative) const {
    return contentOf(folder / relative);
}

FileTime TestTree::time(const std::string &relative) const {
    return timeOf(folder / relative);
}

std::map<std::string, std::string> TestTree::snapshot(const std::string &relative) const {
    const fs::path start = folder / relative;
    std::map<std::string, std::string> items;
    for (const fs::directory_entry &entry : fs::recursive_directory_iterator(start))
        items[entry.path().lexically_relative(start).native()] = describe(entry.path());
    return items;
}

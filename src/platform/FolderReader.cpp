#include "platform/FolderReader.h"

#include <cerrno>
#include <cstring>
#include <system_error>

#include <dirent.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

constexpr std::size_t bufferSize = 64 * 1024;

} // namespace

FolderReader::FolderReader(int openFolder)
    : folder(openFolder), buffer(std::make_unique_for_overwrite<char[]>(bufferSize)) {
}

bool FolderReader::refill() {
    const long got = ::syscall(SYS_getdents64, folder, buffer.get(), bufferSize);
    if (got < 0)
        throw std::system_error(errno, std::generic_category(), "getdents");
    position = 0;
    end = static_cast<std::size_t>(got);
    return got > 0;
}

bool FolderReader::next(Item &item) {
    while (position < end || refill()) {
        const auto *record = reinterpret_cast<const dirent64 *>(buffer.get() + position);
        position += record->d_reclen;
        const std::string_view name(record->d_name, std::strlen(record->d_name));
        if (name == "." || name == "..")
            continue;
        item = {name, record->d_type};
        return true;
    }
    return false;
}

#include "app/SettingsLock.h"

#include "base/Text.h"
#include "platform/Lock.h"
#include "store/Store.h"

#include <QStringList>

#include <array>
#include <cerrno>

#include <fcntl.h>
#include <unistd.h>

SettingsLock::SettingsLock() {
    const std::filesystem::path path = Store::supportDir() / "tarnwick-basic.lock";
    file.reset(::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600));
    if (!file) // nothing can be written there; the folder itself can still be locked
        file.reset(::open(path.parent_path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    // A file system without locks answers with another error than that of a lock that is taken.
    held = !file || Lock::tryLock(file.get()) || errno != EWOULDBLOCK;
}

void SettingsLock::announce(const QString &busName, const QString &busAddress) const {
    const std::string line =
        std::to_string(::getpid()) + ' ' + Text::toBytes(busName) + ' ' + Text::toBytes(busAddress) + '\n';
    // Should this fail, the process can't be reached, and who tries says so.
    [[maybe_unused]] const bool ignored =
        ::ftruncate(file.get(), 0) == 0 && ::pwrite(file.get(), line.data(), line.size(), 0) > 0;
}

std::optional<SettingsLock::Holder> SettingsLock::holder() const {
    std::array<char, 4096> line;
    const ssize_t length = file ? ::pread(file.get(), line.data(), line.size(), 0) : -1;
    if (length <= 0 || line[static_cast<std::size_t>(length) - 1] != '\n')
        return std::nullopt;
    const QStringList words = Text::fromBytes({line.data(), static_cast<std::size_t>(length)}).simplified().split(u' ');
    return words.size() == 3 ? std::optional(Holder{words[0].toLongLong(), words[1], words[2]}) : std::nullopt;
}

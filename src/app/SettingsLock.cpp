#include "app/SettingsLock.h"

#include "platform/Lock.h"
#include "store/Store.h"

#include <cerrno>

#include <fcntl.h>

SettingsLock::SettingsLock() {
    const std::filesystem::path path = Store::supportDir() / "tarnwick-basic.lock";
    file.reset(::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0644));
    // A file system without locks answers with another error than that of a lock that is taken.
    held = !file || Lock::tryLock(file.get()) || errno != EWOULDBLOCK;
}

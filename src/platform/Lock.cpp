#include "platform/Lock.h"

#include <sys/file.h>

bool Lock::tryLock(int descriptor) {
    return ::flock(descriptor, LOCK_EX | LOCK_NB) == 0;
}

#include "platform/Durability.h"

#include <algorithm>
#include <array>
#include <cerrno>

#include <linux/magic.h>
#include <sys/vfs.h>
#include <unistd.h>

namespace Durability {

Method methodFor(int descriptor) {
    // Only those known to honour syncfs(); an unknown one is flushed file by file, which is slower but always safe.
    // The last four are XFS, F2FS, exFAT and ZFS, which the header does not have.
    static constexpr std::array<long, 9> honouring = {
        EXT4_SUPER_MAGIC, BTRFS_SUPER_MAGIC, TMPFS_MAGIC, MSDOS_SUPER_MAGIC, OVERLAYFS_SUPER_MAGIC,
        0x58465342,       0xF2F52010,        0x2011BAB0,  0x2FC12FC1};
    struct statfs facts = {};
    if (::fstatfs(descriptor, &facts) != 0)
        return Method::EachFile;
    const bool honours = std::find(honouring.begin(), honouring.end(), facts.f_type) != honouring.end();
    return honours ? Method::WholeVolume : Method::EachFile;
}

int flushVolume(int descriptor) {
    return ::syncfs(descriptor) == 0 ? 0 : errno;
}

int flushFile(int descriptor) {
    if (::fsync(descriptor) == 0)
        return 0;
    // What can't be flushed at all is no failure of this file.
    return errno == EINVAL || errno == ENOSYS || errno == EOPNOTSUPP ? 0 : errno;
}

} // namespace Durability

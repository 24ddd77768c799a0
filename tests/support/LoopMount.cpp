#include "support/LoopMount.h"

#include "support/Shell.h"
#include "support/TestTree.h"

#include <cerrno>
#include <system_error>

#include <sys/mount.h>

namespace {

[[noreturn]] void fail(const std::string &what) {
    throw std::system_error(errno, std::generic_category(), what);
}

/// The command that makes the drive in the file `image`, if it takes one, and mounts it.
std::string making(const LoopMount::Options &options, const std::string &image, const std::string &mountPoint) {
    constexpr std::int64_t mebibyte = 1024 * 1024;
    const std::int64_t usual = options.type == LoopMount::Type::Xfs ? 320 * mebibyte : 16 * mebibyte;
    const std::string size = std::to_string(options.size > 0 ? options.size : usual);
    if (options.type == LoopMount::Type::Tmpfs)
        return "mount -t tmpfs -o size=" + size + " tmpfs '" + mountPoint + "'";
    const std::string type = options.type == LoopMount::Type::Xfs ? "xfs " : "ext4 ";
    return "truncate -s " + size + ' ' + image + " && mkfs." + type + "-q " + image + " && mount -t " + type +
           "-o loop " + image + " '" + mountPoint + "'";
}

} // namespace

Mount::Mount(const fs::path &source, const fs::path &target, const std::string &type, const std::string &data)
    : place(target) {
    const unsigned long flags = type == "bind" ? MS_BIND : 0;
    if (::mount(source.c_str(), target.c_str(), type.c_str(), flags, data.c_str()) != 0)
        fail("mount " + target.native());
}

Mount::~Mount() {
    if (!place.empty())
        ::umount2(place.c_str(), MNT_DETACH | UMOUNT_NOFOLLOW);
}

void Mount::lazyUnmount() {
    if (::umount2(place.c_str(), MNT_DETACH | UMOUNT_NOFOLLOW) != 0)
        fail("umount " + place.native());
    place.clear();
}

LoopMount::LoopMount(const Options &options) : fresh(freshFolder(options.below)), mountPoint(fresh / options.name) {
    try {
        fs::create_directories(mountPoint);
        shell(making(options, fresh / ".image", mountPoint));
        mount.emplace(mountPoint);
        source = shell("findmnt -nro SOURCE --mountpoint '" + mountPoint.native() + "'");
    } catch (...) {
        removeFolders();
        throw;
    }
}

LoopMount::~LoopMount() {
    mount.reset();
    removeFolders();
}

void LoopMount::removeFolders() {
    // Never recursively: should an unmount have failed, a drive's content must not be taken for leftovers.
    std::error_code error;
    fs::remove(fresh / ".image", error);
    for (fs::path folder = mountPoint; folder != fresh && fs::remove(folder, error);)
        folder = folder.parent_path();
    fs::remove(fresh, error);
}

std::optional<std::string> LoopMount::whyNot(Type type) try {
    // Root inside a container often may not mount, or has no loop devices: only trying tells.
    LoopMount({.type = type, .below = fs::temp_directory_path()});
    return std::nullopt;
} catch (const std::exception &error) {
    return error.what();
}

void LoopMount::detachDevice() {
    // A loop device can't be taken from a mounted file system; shutting the file system down without writing
    // its log looks the same from above.
    shell("xfs_io -Fxc shutdown '" + mountPoint.native() + "'");
}

void LoopMount::lazyUnmount() {
    mount->lazyUnmount();
}

void LoopMount::remountReadOnly() {
    shell("mount -o remount,ro '" + mountPoint.native() + "'");
}

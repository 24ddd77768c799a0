#include "support/LoopMount.h"

#include "base/FileDescriptor.h"

#include <QProcess>
#include <QStandardPaths>
#include <QStringList>

#include <cerrno>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <system_error>

#include <fcntl.h>
#include <linux/loop.h>
#include <sys/ioctl.h>
#include <sys/mount.h>
#include <unistd.h>

namespace {

[[noreturn]] void fail(const std::string &what) {
    throw std::system_error(errno, std::generic_category(), what);
}

fs::path freshFolder(const fs::path &below) {
    std::string pattern = below / "tarnwick-test-XXXXXX";
    if (!::mkdtemp(pattern.data()))
        fail(pattern);
    return pattern;
}

/// Where Debian keeps mkfs and mount, which an ordinary PATH leaves out.
QString programPath(const std::string &name) {
    const QString file = QString::fromStdString(name);
    const QString found = QStandardPaths::findExecutable(file);
    const QStringList systemFolders = {QStringLiteral("/usr/sbin"), QStringLiteral("/sbin")};
    return found.isEmpty() ? QStandardPaths::findExecutable(file, systemFolders) : found;
}

void run(const std::string &program, const QStringList &arguments) {
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(programPath(program), arguments);
    if (!process.waitForFinished() || process.exitStatus() != QProcess::NormalExit || process.exitCode() != 0)
        throw std::runtime_error(program + ": " + process.readAll().toStdString() +
                                 process.errorString().toStdString());
}

QString text(const fs::path &path) {
    return QString::fromStdString(path.native());
}

std::string kernelName(LoopMount::Type type) {
    switch (type) {
    case LoopMount::Type::Ext4:
        return "ext4";
    case LoopMount::Type::Xfs:
        return "xfs";
    case LoopMount::Type::Tmpfs:
        break;
    }
    return "tmpfs";
}

std::int64_t defaultSize(LoopMount::Type type) {
    constexpr std::int64_t mebibyte = 1024 * 1024;
    return type == LoopMount::Type::Xfs ? 320 * mebibyte : 16 * mebibyte;
}

bool kernelKnows(const std::string &type) {
    std::ifstream table("/proc/filesystems");
    const std::string all(std::istreambuf_iterator<char>(table), {});
    return all.find('\t' + type + '\n') != std::string::npos;
}

/// Root inside a container often may not mount: only trying tells.
bool mayMount() {
    const fs::path folder = freshFolder(fs::temp_directory_path());
    bool done = false;
    try {
        const Mount probe("tmpfs", folder, "tmpfs", "size=64k");
        done = true;
    } catch (const std::system_error &) {
    }
    fs::remove(folder);
    return done;
}

/// The loop device that was made for the mount at `mountPoint`, the last one in the table.
fs::path deviceAt(const fs::path &mountPoint) {
    std::ifstream table("/proc/self/mounts");
    std::string device, place, found;
    for (std::string rest; table >> device >> place && std::getline(table, rest);) {
        if (place == mountPoint)
            found = device;
    }
    return found;
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

LoopMount::LoopMount(const Options &options) {
    fresh = freshFolder(options.below);
    mountPoint = fresh / options.name;
    try {
        fs::create_directories(mountPoint);
        makeFileSystem(options);
    } catch (...) {
        removeFolders();
        throw;
    }
}

void LoopMount::makeFileSystem(const Options &options) {
    const std::int64_t size = options.size > 0 ? options.size : defaultSize(options.type);
    const std::string separator = options.mountOptions.empty() ? "" : ",";
    if (options.type == Type::Tmpfs) {
        source = "tmpfs";
        mount.emplace("tmpfs", mountPoint, "tmpfs", "size=" + std::to_string(size) + separator + options.mountOptions);
        return;
    }
    image = fresh / ".image";
    std::ofstream(image).close();
    fs::resize_file(image, static_cast<std::uintmax_t>(size));
    const std::string type = kernelName(options.type);
    run("mkfs." + type, {QStringLiteral("-q"), text(image)});
    const QString loop = QString::fromStdString("loop" + separator + options.mountOptions);
    run("mount", {QStringLiteral("-t"), QString::fromStdString(type), QStringLiteral("-o"), loop, text(image),
                  text(mountPoint)});
    mount.emplace(mountPoint);
    source = deviceAt(mountPoint);
}

LoopMount::~LoopMount() {
    mount.reset();
    removeFolders();
}

void LoopMount::removeFolders() {
    // Never recursively: should an unmount have failed, a drive's content must not be taken for leftovers.
    std::error_code error;
    if (!image.empty())
        fs::remove(image, error);
    for (fs::path folder = mountPoint; folder != fresh && fs::remove(folder, error);)
        folder = folder.parent_path();
    fs::remove(fresh, error);
}

std::optional<std::string> LoopMount::whyNot(Type type) {
    if (::geteuid() != 0)
        return "mounting takes root";
    if (!mayMount())
        return "this process may not mount (a container without CAP_SYS_ADMIN?)";
    const std::string name = kernelName(type);
    if (!kernelKnows(name))
        return "the kernel doesn't know the file system " + name;
    if (type == Type::Tmpfs)
        return std::nullopt;
    if (programPath("mkfs." + name).isEmpty())
        return "mkfs." + name + " is not installed";
    if (::access("/dev/loop-control", R_OK | W_OK) != 0)
        return "there are no loop devices";
    return std::nullopt;
}

void LoopMount::detachDevice() {
    // A loop device can't be taken from a mounted file system; shutting the file system down without writing
    // its log looks the same from above.
    constexpr unsigned long shutDown = _IOR('X', 125, std::uint32_t); // FS_IOC_SHUTDOWN, which no header has
    std::uint32_t withoutLog = 2;
    const FileDescriptor folder(::open(mountPoint.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!folder || ::ioctl(folder.get(), shutDown, &withoutLog) != 0)
        fail("shut down " + mountPoint.native());
}

void LoopMount::lazyUnmount() {
    mount->lazyUnmount();
}

void LoopMount::remountReadOnly() {
    if (::mount(nullptr, mountPoint.c_str(), nullptr, MS_REMOUNT | MS_RDONLY, nullptr) != 0)
        fail("remount " + mountPoint.native());
}

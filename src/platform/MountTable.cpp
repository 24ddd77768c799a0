#include "platform/MountTable.h"

#include "base/Paths.h"
#include "platform/FileFacts.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <fstream>
#include <iterator>
#include <optional>

#include <fcntl.h>
#include <sys/sysmacros.h>

namespace {

constexpr const char *mountInfo = "/proc/self/mountinfo";

std::vector<std::string_view> fieldsOf(std::string_view line) {
    std::vector<std::string_view> fields;
    while (!line.empty()) {
        const std::size_t end = std::min(line.find(' '), line.size());
        if (end > 0)
            fields.push_back(line.substr(0, end));
        line.remove_prefix(std::min(end + 1, line.size()));
    }
    return fields;
}

template <typename Number>
bool readNumber(std::string_view text, Number &number) {
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc() && end == text.data() + text.size();
}

/// Blanks, tabs, line feeds and backslashes stand in the table as a backslash and three octal digits.
std::string unescaped(std::string_view text) {
    const auto isOctal = [](char c) { return c >= '0' && c <= '7'; };
    std::string result;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '\\' && i + 3 < text.size() && isOctal(text[i + 1]) && isOctal(text[i + 2]) &&
            isOctal(text[i + 3])) {
            result += static_cast<char>((text[i + 1] - '0') * 64 + (text[i + 2] - '0') * 8 + (text[i + 3] - '0'));
            i += 3;
        } else {
            result += text[i];
        }
    }
    return result;
}

std::optional<MountEntry> entryOf(std::string_view line) {
    const std::vector<std::string_view> fields = fieldsOf(line);
    // id parent major:minor root mountpoint options [tags ...] - type source [super-options]
    const auto dash = std::find(fields.begin() + std::min<std::ptrdiff_t>(6, std::ssize(fields)), fields.end(), "-");
    if (std::distance(dash, fields.end()) < 3)
        return std::nullopt;
    MountEntry entry;
    unsigned major = 0;
    unsigned minor = 0;
    const std::size_t colon = fields[2].find(':');
    if (colon == std::string_view::npos || !readNumber(fields[0], entry.id) || !readNumber(fields[1], entry.parentId) ||
        !readNumber(fields[2].substr(0, colon), major) || !readNumber(fields[2].substr(colon + 1), minor))
        return std::nullopt;
    entry.device = makedev(major, minor);
    entry.root = unescaped(fields[3]);
    entry.mountPoint = unescaped(fields[4]);
    entry.type = unescaped(*(dash + 1));
    entry.source = unescaped(*(dash + 2));
    return entry;
}

} // namespace

MountTable MountTable::read() {
    std::ifstream file(mountInfo, std::ios::binary);
    return parse(std::string(std::istreambuf_iterator<char>(file), {}));
}

FileDescriptor MountTable::openForChanges() {
    return FileDescriptor(::open(mountInfo, O_RDONLY | O_CLOEXEC));
}

MountTable MountTable::parse(std::string_view text) {
    MountTable table;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        if (std::optional<MountEntry> entry = entryOf(text.substr(0, end)))
            table.mounts.push_back(std::move(*entry));
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return table;
}

const MountEntry *MountTable::withId(int id) const {
    const auto found = std::find_if(mounts.begin(), mounts.end(), [id](const MountEntry &m) { return m.id == id; });
    return found == mounts.end() ? nullptr : &*found;
}

const MountEntry *MountTable::covering(const std::filesystem::path &path) const {
    const MountEntry *best = nullptr;
    for (const MountEntry &entry : mounts) {
        // At the same length the later mount wins: it lies over the earlier one.
        if (Paths::isWithin(path, entry.mountPoint) &&
            (!best || entry.mountPoint.native().size() >= best->mountPoint.native().size()))
            best = &entry;
    }
    return best;
}

const MountEntry *MountTable::holding(const std::filesystem::path &path) const {
    std::filesystem::path existing = Paths::standardised(path);
    std::optional<FileFacts> facts;
    while (!(facts = lookAt(AT_FDCWD, existing.c_str(), LinkAtEnd::IsFollowed)) && existing != existing.root_path())
        existing = existing.parent_path();
    if (!facts)
        return nullptr;
    const MountEntry *mount = withId(static_cast<int>(facts->mountId));
    return mount ? mount : covering(existing);
}

const MountEntry *MountTable::reachableAt(const std::filesystem::path &mountPoint) const {
    const auto found = std::find_if(mounts.rbegin(), mounts.rend(), [&](const MountEntry &entry) {
        return entry.mountPoint == mountPoint && isReachable(entry);
    });
    return found == mounts.rend() ? nullptr : &*found;
}

bool MountTable::isReachable(const MountEntry &entry) const {
    const auto at = std::find_if(mounts.begin(), mounts.end(), [&](const MountEntry &m) { return m.id == entry.id; });
    return at != mounts.end() && std::none_of(at + 1, mounts.end(), [&](const MountEntry &later) {
               return Paths::isWithin(entry.mountPoint, later.mountPoint);
           });
}

std::string fileSystemTypeName(const MountEntry &entry) {
    return entry.type == "vfat" || entry.type == "fuse.fusefat" ? "msdos" : entry.type;
}

bool isFuse(std::string_view type) {
    return type == "fuse" || type == "fuseblk" || type.starts_with("fuse.");
}

bool isLocalStorage(std::string_view type) {
    static constexpr std::array<std::string_view, 43> others = {
        // on another machine
        "nfs", "nfs4", "cifs", "smb3", "smbfs", "ncpfs", "ncp", "afs", "9p", "ceph", "glusterfs", "lustre", "gfs2",
        "ocfs2", "beegfs", "virtiofs", "fuse.sshfs", "fuse.rclone", "fuse.onedriver", "fuse.davfs2", "fuse.curlftpfs",
        "fuse.glusterfs", "fuse.s3fs", "fuse.gvfsd-fuse", "fuse.portal",
        // the kernel's own
        "proc", "sysfs", "devtmpfs", "devpts", "cgroup", "cgroup2", "securityfs", "debugfs", "tracefs", "bpf", "mqueue",
        "hugetlbfs", "fusectl", "configfs", "pstore", "efivarfs", "autofs", "binfmt_misc"};
    return std::find(others.begin(), others.end(), type) == others.end();
}

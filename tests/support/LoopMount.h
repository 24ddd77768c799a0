#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

namespace fs = std::filesystem;

/// One mount, lazily undone at the end of its life. Needs root; failures throw std::system_error.
class Mount {
  public:
    /// Mounts `source` at the existing folder `target` as mount(2) does; a `type` of "bind" makes a bind
    /// mount.
    Mount(const fs::path &source, const fs::path &target, const std::string &type, const std::string &data = "");
    /// Takes over what is mounted at `target` already.
    explicit Mount(const fs::path &target) : place(target) {}
    Mount(const Mount &) = delete;
    Mount &operator=(const Mount &) = delete;
    ~Mount();

    /// Takes it out of the tree of folders at once; what is held open inside goes on working until it is
    /// closed.
    void lazyUnmount();

  private:
    fs::path place;
};

/// A small real drive: a file system of its own, mounted in a fresh folder below "/mnt". It is unmounted and
/// deleted at the end of its life. Check whyNot() first and skip the test when it gives a reason. Failures
/// throw.
class LoopMount {
  public:
    enum class Type { Ext4, Xfs, Tmpfs };

    struct Options {
        Type type = Type::Ext4;
        std::int64_t size = 0;      ///< bytes; 0 for a size that holds some 10 MB (Xfs takes at least 300 MB)
        std::string name = "drive"; ///< of the mount point
        fs::path below = "/mnt";    ///< where the fresh folder that holds the mount point is made
    };

    LoopMount() : LoopMount(Options()) {}
    explicit LoopMount(const Options &options);
    LoopMount(const LoopMount &) = delete;
    LoopMount &operator=(const LoopMount &) = delete;
    ~LoopMount();

    /// Why such a file system can't be mounted here, for GTEST_SKIP; none when it can.
    static std::optional<std::string> whyNot(Type type = Type::Ext4);

    /// The mount point, "/mnt/tarnwick-test-XXXXXX/drive".
    const fs::path &top() const { return mountPoint; }
    /// The fresh folder that holds the mount point. Whatever else a test makes in it must be gone at the end.
    const fs::path &parent() const { return fresh; }
    /// The loop device, "/dev/loop3"; "tmpfs" for a Tmpfs.
    const fs::path &device() const { return source; }

    /// The drive dies under its mount, as when its cable is pulled: opening, reading, writing and flushing
    /// fail with EIO from now on, while the mount stays and looks and listings may still be answered from the
    /// cache. Not for Tmpfs.
    void detachDevice();
    void lazyUnmount();
    void remountReadOnly();

  private:
    void removeFolders();

    fs::path fresh;
    fs::path mountPoint;
    fs::path source;
    std::optional<Mount> mount;
};

#pragma once

#include "platform/NameAt.h"

#include <optional>

/// Renames within one volume. Remembers what its file system can do, so keep one per volume.
class Mover {
  public:
    enum class On { Disk, Fuse };
    enum class MovedIn { Done, TargetExists };

    explicit Mover(On fileSystem = On::Disk) : on(fileSystem) {}

    /// Moves `from` to `to` if and only if nothing is there. Fails with std::system_error; EXDEV when the two are not
    /// on one volume after all. On a file system that knows neither an exclusive rename nor hard links, a last look
    /// comes just before the rename.
    MovedIn moveIn(NameAt from, NameAt to);

    /// Moves `from` over what is at `to`, in one step. Fails with std::system_error.
    static void replace(NameAt from, NameAt to);

  private:
    enum class Method { ExclusiveRename, Link, LookAndRename };

    std::optional<MovedIn> attempt(Method way, NameAt from, NameAt to) const;
    bool isUnknown(Method way, int error) const;

    On on;
    Method method = Method::ExclusiveRename; ///< the first one that may work here
};

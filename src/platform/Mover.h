#pragma once

#include "platform/NameAt.h"

/// Renames within one volume. Remembers what its file system can do, so keep one per volume.
class Mover {
  public:
    enum class MovedIn { Done, TargetExists };

    /// Moves `from` to `to` if and only if nothing is there. Fails with std::system_error; EXDEV when the two are not
    /// on one volume after all. On a file system that knows neither an exclusive rename nor hard links, a last look
    /// comes just before the rename.
    MovedIn moveIn(NameAt from, NameAt to);

    /// Moves `from` over what is at `to`, in one step. Fails with std::system_error.
    static void replace(NameAt from, NameAt to);

  private:
    enum class Method { ExclusiveRename, Link, LookAndRename };

    MovedIn byExclusiveRename(NameAt from, NameAt to);
    MovedIn byLink(NameAt from, NameAt to);
    static MovedIn byLook(NameAt from, NameAt to);

    Method method = Method::ExclusiveRename;
};

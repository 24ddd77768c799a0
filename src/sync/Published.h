#pragma once

/// What became of a complete copy when its time came to be moved to its final name.
enum class Published {
    Added,         ///< nothing was there
    Updated,       ///< the version that was there was replaced
    UpToDate,      ///< the same version had arrived meanwhile
    KeptNewer,     ///< a newer version had arrived meanwhile and was left alone
    FolderInTheWay ///< a folder had arrived meanwhile and was left alone
};

/// The outcome for one copy.
struct PublishedCopy {
    Published outcome = Published::Added;
    /// Whether a copy that was moved in has the original's date there. If not, the file system can't keep it, and the
    /// next comparison takes the copy for a newer file.
    bool hasItsDate = true;
};

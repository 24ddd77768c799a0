#pragma once

/// Getting written data onto the disk.
namespace Durability {

/// How a file system is brought to write everything down.
enum class Method {
    WholeVolume, ///< syncfs() flushes and reports errors
    EachFile     ///< syncfs() does nothing there (FUSE), so each file is flushed by itself
};

/// Which one the file system of the open file or folder needs.
Method methodFor(int descriptor);

/// Flushes the volume of the open file or folder; errors of earlier writes since `descriptor` was opened are reported.
/// 0 on success, else the errno. Blocks.
int flushVolume(int descriptor);

/// Flushes one open file, or the names in one open folder. The date goes with the data: a copy whose date got lost in a
/// power cut would pass for a newer file. 0 on success and where the file system knows no flush, else the errno.
/// Blocks.
int flushFile(int descriptor);

} // namespace Durability

#pragma once

#include "base/SerialQueue.h"

#include <QString>

#include <chrono>
#include <filesystem>

/// The program's one diagnostic record: a text file of time-stamped lines with a single older generation. Writing never
/// waits for the disk and never fails visibly; the log never reports on itself.
class Log {
  public:
    /// The log of this process, made on first use: "Tarnwick Basic/Tarnwick Basic.log" in the user's state folder
    /// (XDG_STATE_HOME or "~/.local/state"; "Library/Logs" in the test root's home when one is active). Lives until the
    /// process ends.
    static Log &shared();

    /// A log in the file `url`, whose folder is made with any missing parents. What is made is the user's alone.
    explicit Log(std::filesystem::path url);

    /// Appends one entry: the local time of this call, two blanks, the message unchanged and a line feed. Returns at
    /// once; may be called from any thread. Entries reach the file in the order of the calls.
    void write(const QString &message);

    /// Waits until what was written so far is in the file, for `limit` at most; false when that was not enough.
    bool flush(std::chrono::milliseconds limit) { return queue.drain(limit); }

    const std::filesystem::path &url() const { return file; }

  private:
    std::filesystem::path file;
    SerialQueue queue;
};

#pragma once

#include <QProcess>

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

/// A FUSE mount that a process of its own serves, such as a OneDrive client's. At the end of its life it is unmounted
/// lazily, and the process has ended. Check whyNot() first and skip the test when it gives a reason.
class ServedMount {
  public:
    /// Starts the program in `words`, which has to stay in the foreground, and waits until something is mounted at
    /// `place`, an existing folder whose path has no blanks. Failures throw.
    ServedMount(const std::vector<std::string> &words, const std::filesystem::path &place);
    ServedMount(const ServedMount &) = delete;
    ServedMount &operator=(const ServedMount &) = delete;
    ~ServedMount();

    /// Why there can be no such mount here, for GTEST_SKIP; none when there can. The shell command `probe` succeeds
    /// where the program is installed.
    static std::optional<std::string> whyNot(const std::string &probe);

    /// The process dies in mid-work; the mount stays, and every call on it fails. On any thread.
    void kill() const;

  private:
    bool isMounted() const;
    void end();

    std::filesystem::path place;
    QProcess server;
};

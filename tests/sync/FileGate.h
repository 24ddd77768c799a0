#pragma once

#include "base/FileDescriptor.h"

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <thread>
#include <vector>

/// Holds up every opening and every reading of the files in some folders until the test has answered, so that
/// a test acts at an exact point of a copy: nothing has to be timed. Needs root.
class FileGate {
  public:
    enum class Event { Open, Read };
    /// Called on a thread of its own while the event waits; `name` is the file's. Must not touch the files of
    /// the folders itself. Answers 0 to let the event go on, or the errno with which it is to fail (an older kernel
    /// makes it fail with EPERM).
    using Answer = std::function<int(Event event, const std::string &name)>;

    /// Failures throw std::system_error.
    FileGate(const std::vector<std::filesystem::path> &folders, Answer answerToEvent);
    FileGate(const FileGate &) = delete;
    FileGate &operator=(const FileGate &) = delete;
    /// Lets everything go on again.
    ~FileGate();

    /// Why there can be no gate here, for GTEST_SKIP; none when there can.
    static std::optional<std::string> whyNot();

  private:
    void serve();
    void respond(int event, int error) const;

    Answer answer;
    FileDescriptor group;
    FileDescriptor stop; // an eventfd
    std::thread server;
};

#pragma once

#include "base/FileDescriptor.h"

#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include <sys/resource.h>
#include <sys/types.h>

/// The built program in a process of its own, started as a user or a script would. Fill in what is wanted,
/// then run() it, or start() and finish() it. Failures of the test's own means throw std::system_error.
class Program {
  public:
    enum class Stream { Captured, Closed, BrokenPipe, Terminal };

    struct Outcome {
        int status = 0;     ///< the exit status; 128 and the signal's number after a deadly one
        std::string out;    ///< what came on standard output, as far as captured
        std::string err;    ///< what came on standard error, or was drawn on the terminal
        std::string faults; ///< strace's lines about the calls that it meddled with
    };

    Program() = default;
    Program(const Program &) = delete;
    Program &operator=(const Program &) = delete;
    Program(Program &&) = default;
    ~Program();

    std::vector<std::string> arguments;
    std::map<std::string, std::string> environment; ///< besides PATH
    std::filesystem::path workingFolder = "/";
    Stream out = Stream::Captured;
    Stream err = Stream::Captured;
    rlim_t openFiles = 0; ///< how many descriptors it may have open; 0 for as many as usual

    /// Meddles with a system call in the way of strace's option "inject", such as "syncfs:error=EIO". Needs
    /// strace: see whyNoFaults(). `when=N` counts the calls of each thread by itself.
    void inject(const std::string &fault) { faults.push_back(fault); }
    /// Restricts the faults to calls that have to do with this path.
    std::filesystem::path faultyPath;
    /// Why faults can't be injected here, for GTEST_SKIP; none when they can.
    static std::optional<std::string> whyNoFaults();

    Outcome run();

    void start();
    pid_t pid() const { return child; }
    /// Waits until a fault with ":signal=STOP" has stopped the process; false when it ended instead.
    bool waitUntilStopped();
    /// Waits until `text` has been drawn on the terminal; false when the process ended without.
    bool waitUntilDrawn(const std::string &text);
    void signal(int number) const;
    Outcome finish();

  private:
    std::vector<std::string> command() const;
    [[noreturn]] void exec(const std::vector<std::string> &words) const;
    bool readTerminal();

    std::vector<std::string> faults;
    pid_t child = -1;
    std::optional<int> ended;
    FileDescriptor outFile, errFile, log, terminal, alive;
    int childOut = -1, childErr = -1;
    std::string drawn;
};

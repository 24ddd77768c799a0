#include "app/Program.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <pty.h>
#include <system_error>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/wait.h>

namespace {

[[noreturn]] void fail(const char *call) {
    throw std::system_error(errno, std::generic_category(), call);
}

FileDescriptor memoryFile() {
    FileDescriptor file(::memfd_create("captured", MFD_CLOEXEC));
    if (!file)
        fail("memfd_create");
    return file;
}

std::string contentOf(const FileDescriptor &file) {
    std::string text;
    char buffer[65536];
    for (ssize_t got;
         file && (got = ::pread(file.get(), buffer, sizeof buffer, static_cast<off_t>(text.size()))) > 0;)
        text.append(buffer, static_cast<std::size_t>(got));
    return text;
}

/// The write end of a pipe that nobody reads.
FileDescriptor brokenPipe() {
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0)
        fail("pipe");
    ::close(ends[0]);
    return FileDescriptor(ends[1]);
}

std::string callOf(const std::string &fault) {
    return fault.substr(0, fault.find(':'));
}

std::vector<char *> pointers(const std::vector<std::string> &words) {
    std::vector<char *> result;
    for (const std::string &word : words)
        result.push_back(const_cast<char *>(word.c_str()));
    result.push_back(nullptr);
    return result;
}

int statusOf(int waited) {
    return WIFEXITED(waited) ? WEXITSTATUS(waited) : 128 + WTERMSIG(waited);
}

} // namespace

Program::~Program() {
    if (child > 0 && !ended) {
        ::kill(child, SIGKILL);
        ::waitpid(child, nullptr, 0);
    }
}

std::optional<std::string> Program::whyNoFaults() {
    const int status =
        std::system("strace -f -D -o /dev/null -e trace=getpid -e inject=getpid:error=EIO true 2>/dev/null");
    return status == 0 ? std::nullopt : std::optional<std::string>("strace is missing or may not trace here");
}

std::vector<std::string> Program::command() const {
    std::vector<std::string> words;
    if (!faults.empty()) {
        // -D: the program is this process's own child, and strace stands aside.
        words = {"strace", "-f", "-D", "-qq", "-o", "/dev/fd/" + std::to_string(log.get())};
        std::string calls;
        for (const std::string &fault : faults)
            calls += (calls.empty() ? "" : ",") + callOf(fault);
        words.insert(words.end(), {"-e", "trace=" + calls});
        for (const std::string &fault : faults)
            words.insert(words.end(), {"-e", "inject=" + fault});
        if (!faultyPath.empty())
            words.insert(words.end(), {"-P", faultyPath.native()});
    }
    words.emplace_back(TARNWICK_PROGRAM);
    words.insert(words.end(), arguments.begin(), arguments.end());
    return words;
}

void Program::exec(const std::vector<std::string> &words) const {
    std::vector<std::string> variables = {std::string("PATH=") + std::getenv("PATH")};
    for (const auto &[name, value] : environment)
        variables.push_back(name + '=' + value);
    if (!faults.empty())
        variables.emplace_back("ASAN_OPTIONS=detect_leaks=0"); // needs to trace the process itself
    const int outTarget = childOut >= 0 ? ::fcntl(childOut, F_DUPFD, 10) : -1;
    const int errTarget = childErr >= 0 ? ::fcntl(childErr, F_DUPFD, 10) : -1;
    outTarget >= 0 ? ::dup2(outTarget, STDOUT_FILENO) : ::close(STDOUT_FILENO);
    errTarget >= 0 ? ::dup2(errTarget, STDERR_FILENO) : ::close(STDERR_FILENO);
    ::close(outTarget);
    ::close(errTarget);
    if (openFiles > 0) {
        const rlimit limit = {openFiles, openFiles};
        ::setrlimit(RLIMIT_NOFILE, &limit);
    }
    ::signal(SIGPIPE, SIG_DFL);
    if (::chdir(workingFolder.c_str()) == 0)
        ::execvpe(words.front().c_str(), pointers(words).data(), pointers(variables).data());
    ::_exit(127);
}

void Program::start() {
    FileDescriptor broken, slave;
    const auto stream = [&](Stream kind, FileDescriptor &captured) {
        switch (kind) {
        case Stream::Captured:
            captured = memoryFile();
            return captured.get();
        case Stream::BrokenPipe:
            broken = brokenPipe();
            return broken.get();
        case Stream::Terminal: {
            int ends[2];
            winsize size = {.ws_row = 24, .ws_col = 80, .ws_xpixel = 0, .ws_ypixel = 0};
            if (::openpty(&ends[0], &ends[1], nullptr, nullptr, &size) != 0)
                fail("openpty");
            terminal.reset(ends[0]);
            slave.reset(ends[1]);
            ::fcntl(ends[0], F_SETFD, FD_CLOEXEC);
            ::fcntl(ends[1], F_SETFD, FD_CLOEXEC);
            return slave.get();
        }
        case Stream::Closed:
            break;
        }
        return -1;
    };
    childOut = stream(out, outFile);
    childErr = stream(err, errFile);
    int ends[2] = {-1, -1};
    if (!faults.empty()) {
        log.reset(::memfd_create("log", 0));
        if (!log || ::pipe(ends) != 0)
            fail("pipe");
        ::fcntl(ends[0], F_SETFD, FD_CLOEXEC);
    }
    alive.reset(ends[0]);
    const FileDescriptor held(ends[1]); // by strace until it ends
    const std::vector<std::string> words = command();
    child = ::fork();
    if (child < 0)
        fail("fork");
    if (child == 0)
        exec(words);
    ended.reset();
}

bool Program::waitUntilStopped() {
    int status = 0;
    if (::waitpid(child, &status, WUNTRACED) != child)
        fail("waitpid");
    if (!WIFSTOPPED(status))
        ended = statusOf(status);
    return WIFSTOPPED(status);
}

bool Program::readTerminal() {
    char buffer[4096];
    const ssize_t got = ::read(terminal.get(), buffer, sizeof buffer);
    if (got > 0)
        drawn.append(buffer, static_cast<std::size_t>(got));
    return got > 0;
}

bool Program::waitUntilDrawn(const std::string &text) {
    while (drawn.find(text) == std::string::npos) {
        if (!readTerminal())
            return false;
    }
    return true;
}

void Program::signal(int number) const {
    if (::kill(child, number) != 0)
        fail("kill");
}

Program::Outcome Program::finish() {
    while (terminal && readTerminal()) {
    }
    if (!ended) {
        int status = 0;
        if (::waitpid(child, &status, 0) != child)
            fail("waitpid");
        ended = statusOf(status);
    }
    char byte;
    while (alive && ::read(alive.get(), &byte, 1) < 0 && errno == EINTR) {
    }
    return {*ended, contentOf(outFile), terminal ? drawn : contentOf(errFile), contentOf(log)};
}

Program::Outcome Program::run() {
    start();
    return finish();
}

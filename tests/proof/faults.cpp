// Preloaded into the program by the proofs: counts the calls that read or change files below one folder, and does at
// chosen ones of them what tests/proof/proof.py asks for.
//
//   FAULTS_FOLDER  only calls that have to do with something in this folder are met
//   FAULTS_TRACE   where each call met is written, in one line
//   FAULTS_RULES   what is done: a rule a line, see Rule
//   FAULTS_CLOCK   seconds by which the clock is wrong

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <dlfcn.h>
#include <fnmatch.h>
#include <mutex>
#include <spawn.h>
#include <sstream>
#include <string>
#include <vector>

#include <fcntl.h>
#include <linux/fs.h>
#include <sys/syscall.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

/// What this library does itself is not met. A number, since it is asked for to the very end of a thread.
thread_local int depth = 0;

struct Inside {
    Inside() { ++depth; }
    ~Inside() { --depth; }
    Inside(const Inside &) = delete;
    Inside &operator=(const Inside &) = delete;
};

template <typename Function>
Function next(const char *symbol) {
    const Inside inside;
    return reinterpret_cast<Function>(::dlsym(RTLD_NEXT, symbol));
}

std::string setting(const char *name) {
    const char *value = std::getenv(name);
    return value ? value : "";
}

/// "CALL ON_PATH NTH UNTIL MOMENT ACTION ARGUMENT", separated by tabs. CALL and ON_PATH are patterns as of a shell,
/// ON_PATH for what is below the folder. From the NTH call that fits on it is done "once", for the same "call" on the
/// same path, for every call on the same "path", or for "all" that fit. ACTION: "error" with an errno, "answer" with a
/// result, "signal" with its number, "run" with a command.
struct Rule {
    explicit Rule(const std::string &line) {
        std::istringstream fields(line);
        std::string number;
        for (std::string *field : {&call, &path, &number, &until, &moment, &action, &argument})
            std::getline(fields, *field, '\t');
        nth = std::atol(number.c_str());
    }

    /// Counts, so it is asked once for each call.
    bool fits(const std::string &name, const std::string &from, const std::string &to) {
        if (!place.empty() && until == "path")
            return from == place || to == place;
        if (!place.empty() && until == "call")
            return name == firstCall && (from == place || to == place);
        const bool isMeant = ::fnmatch(call.c_str(), name.c_str(), 0) == 0 &&
                             (::fnmatch(path.c_str(), from.c_str(), 0) == 0 ||
                              (!to.empty() && ::fnmatch(path.c_str(), to.c_str(), 0) == 0));
        if (!isMeant || ++count < nth || (count > nth && until != "all"))
            return false;
        firstCall = name;
        place = from;
        return true;
    }

    std::string call, path, until, moment, action, argument;
    long nth = 0, count = 0;
    std::string firstCall, place; // of the first time
};

class Faults {
  public:
    static Faults &shared() {
        const Inside inside;
        static Faults &faults = *new Faults; // never destroyed: threads may outlive main()
        return faults;
    }

    bool isBelow(const std::string &path) const {
        return !folder.empty() && path.starts_with(folder) && path[folder.size()] == '/';
    }

    std::string relative(const std::string &path) const { return isBelow(path) ? path.substr(folder.size() + 1) : ""; }

    std::vector<Rule> due(const std::string &name, const std::string &from, const std::string &to) {
        const std::lock_guard guard(mutex);
        std::vector<Rule> found;
        for (Rule &rule : rules) {
            if (rule.fits(name, from, to))
                found.push_back(rule);
        }
        return found;
    }

    long tick() { return ++clock; }

    void write(const std::string &line) const {
        if (trace >= 0 && ::write(trace, line.data(), line.size()) < 0)
            ::abort();
    }

    const long clockIsWrongBy = std::atol(setting("FAULTS_CLOCK").c_str());

  private:
    Faults() {
        std::istringstream lines(setting("FAULTS_RULES"));
        for (std::string line; std::getline(lines, line);)
            rules.emplace_back(line);
        const std::string file = setting("FAULTS_TRACE");
        if (file.empty())
            return;
        const int opened = ::open(file.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
        trace = ::fcntl(opened, F_DUPFD_CLOEXEC, 900); // the program's own descriptors keep their numbers
        ::close(opened);
    }

    const std::string folder = setting("FAULTS_FOLDER");
    std::vector<Rule> rules;
    int trace = -1;
    std::atomic<long> clock = 0;
    std::mutex mutex;
};

void run(const std::string &command) {
    std::vector<char *> environment;
    for (char **variable = environ; *variable; ++variable) {
        if (std::strncmp(*variable, "LD_PRELOAD=", 11) != 0)
            environment.push_back(*variable);
    }
    environment.push_back(nullptr);
    const char *words[] = {"sh", "-c", command.c_str(), nullptr};
    pid_t child;
    int status = 0;
    if (::posix_spawn(&child, "/bin/sh", nullptr, nullptr, const_cast<char **>(words), environment.data()) != 0 ||
        ::waitpid(child, &status, 0) != child || status != 0)
        ::abort(); // else a proof would hold because nothing has happened
}

void act(const std::vector<Rule> &rules, const char *moment) {
    for (const Rule &rule : rules) {
        if (rule.moment == moment && rule.action == "signal")
            ::kill(::getpid(), std::atoi(rule.argument.c_str()));
        if (rule.moment == moment && rule.action == "run")
            run(rule.argument);
    }
}

enum class EvenIfFailing { IsLeftOut, IsDone };

template <typename Call>
auto meet(const char *name, const std::string &from, const std::string &to, Call call,
          EvenIfFailing evenIfFailing = EvenIfFailing::IsLeftOut) -> decltype(call()) {
    if (depth > 0)
        return call();
    const Inside inside;
    const int errorBefore = errno;
    Faults &faults = Faults::shared();
    if (!faults.isBelow(from) && !faults.isBelow(to)) {
        errno = errorBefore;
        return call();
    }
    const std::string first = faults.relative(from), second = faults.relative(to);
    const long begin = faults.tick();
    const std::vector<Rule> rules = faults.due(name, first, second);
    const auto line = [&](const std::string &result) {
        return std::to_string(begin) + '\t' + std::to_string(faults.tick()) + '\t' + name + '\t' + first + '\t' +
               second + '\t' + result + '\t' + (rules.empty() ? "" : rules.front().action) + '\n';
    };
    act(rules, "before");
    const Rule *instead = nullptr;
    for (const Rule &rule : rules) {
        if (rule.action.starts_with("error") || rule.action == "answer")
            instead = &rule;
    }
    decltype(call()) result = 0;
    errno = errorBefore;
    if (!instead || evenIfFailing == EvenIfFailing::IsDone)
        result = call();
    if (instead) {
        const int number = std::atoi(instead->argument.c_str());
        result = instead->action == "answer" ? number : -1;
        errno = instead->action == "answer" ? errorBefore : number;
    }
    const int error = errno;
    faults.write(line(result < 0 ? '-' + std::to_string(error) : std::to_string(result)));
    act(rules, "after");
    errno = error;
    return result;
}

std::string placeOf(int descriptor) {
    const Inside inside;
    const int error = errno;
    char target[4096];
    const std::string link = descriptor == AT_FDCWD ? "/proc/self/cwd" : "/proc/self/fd/" + std::to_string(descriptor);
    const ssize_t length = ::readlink(link.c_str(), target, sizeof target);
    errno = error;
    std::string place(target, length < 0 ? 0 : static_cast<std::size_t>(length));
    constexpr std::string_view mark = " (deleted)";
    if (place.ends_with(mark))
        place.resize(place.size() - mark.size());
    return place;
}

std::string placeOf(int folder, const char *path) {
    if (!path || *path == '/')
        return path ? path : "";
    const std::string start = placeOf(folder);
    const std::string_view name(path);
    return name.empty() || name == "." ? start : start + '/' + path;
}

std::string placeOf(const char *path) {
    return placeOf(AT_FDCWD, path);
}

} // namespace

// The C library's names are given by hand, so that its own declarations, which differ, don't get in the way. What it
// leaves out of a call (the mode of an open file, say) is passed on as it happens to be; nobody reads it.
#define NAMED(Result, symbol, name, parameters, arguments, ...)                                                        \
    extern "C" Result faults_##symbol parameters asm(#symbol);                                                         \
    Result faults_##symbol parameters {                                                                                \
        static const auto real = next<decltype(&faults_##symbol)>(#symbol);                                            \
        return meet(name, __VA_ARGS__, [&] { return real arguments; });                                                \
    }
#define CALL(Result, symbol, parameters, arguments, ...)                                                               \
    NAMED(Result, symbol, #symbol, parameters, arguments, __VA_ARGS__)
#define CALL_64(Result, symbol, parameters, arguments, ...)                                                            \
    CALL(Result, symbol, parameters, arguments, __VA_ARGS__)                                                           \
    NAMED(Result, symbol##64, #symbol, parameters, arguments, __VA_ARGS__)
#define ON_FILE placeOf(file), ""
#define ON_PATH placeOf(path), ""
#define ON_NAME placeOf(at, path), ""
#define IN_TO_OUT placeOf(in), placeOf(out)
#define FROM_TO placeOf(a, from), placeOf(b, to)

CALL_64(int, open, (const char *path, int flags, mode_t mode), (path, flags, mode), ON_PATH)
CALL_64(int, openat, (int at, const char *path, int flags, mode_t mode), (at, path, flags, mode), ON_NAME)
CALL(ssize_t, read, (int file, void *data, size_t size), (file, data, size), ON_FILE)
CALL(ssize_t, write, (int file, const void *data, size_t size), (file, data, size), ON_FILE)
CALL(ssize_t, writev, (int file, const void *parts, int count), (file, parts, count), ON_FILE)
CALL_64(ssize_t, pread, (int file, void *data, size_t size, off64_t at), (file, data, size, at), ON_FILE)
CALL_64(ssize_t, pwrite, (int file, const void *data, size_t size, off64_t at), (file, data, size, at), ON_FILE)
CALL(ssize_t, copy_file_range, (int in, off64_t *from, int out, off64_t *to, size_t size, unsigned flags),
     (in, from, out, to, size, flags), IN_TO_OUT)
CALL_64(ssize_t, sendfile, (int out, int in, off64_t *at, size_t size), (out, in, at, size), IN_TO_OUT)
CALL_64(off64_t, lseek, (int file, off64_t at, int whence), (file, at, whence), ON_FILE)
CALL_64(int, ftruncate, (int file, off64_t size), (file, size), ON_FILE)

CALL_64(int, stat, (const char *path, void *facts), (path, facts), ON_PATH)
CALL_64(int, lstat, (const char *path, void *facts), (path, facts), ON_PATH)
CALL_64(int, fstat, (int file, void *facts), (file, facts), ON_FILE)
CALL(int, statx, (int at, const char *path, int flags, unsigned mask, void *facts), (at, path, flags, mask, facts),
     ON_NAME)
CALL_64(int, fstatfs, (int file, void *facts), (file, facts), ON_FILE)
CALL_64(int, statvfs, (const char *path, void *facts), (path, facts), ON_PATH)
CALL(int, access, (const char *path, int mode), (path, mode), ON_PATH)
CALL(int, faccessat, (int at, const char *path, int mode, int flags), (at, path, mode, flags), ON_NAME)
CALL(ssize_t, readlink, (const char *path, char *target, size_t size), (path, target, size), ON_PATH)

CALL(int, rename, (const char *from, const char *to), (from, to), placeOf(from), placeOf(to))
CALL(int, renameat, (int a, const char *from, int b, const char *to), (a, from, b, to), FROM_TO)
CALL(int, renameat2, (int a, const char *from, int b, const char *to, unsigned flags), (a, from, b, to, flags), FROM_TO)
CALL(int, linkat, (int a, const char *from, int b, const char *to, int flags), (a, from, b, to, flags), FROM_TO)
CALL(int, unlink, (const char *path), (path), ON_PATH)
CALL(int, unlinkat, (int at, const char *path, int flags), (at, path, flags), ON_NAME)
CALL(int, rmdir, (const char *path), (path), ON_PATH)
CALL(int, mkdir, (const char *path, mode_t mode), (path, mode), ON_PATH)
CALL(int, mkdirat, (int at, const char *path, mode_t mode), (at, path, mode), ON_NAME)

CALL(int, fsync, (int file), (file), ON_FILE)
CALL(int, fdatasync, (int file), (file), ON_FILE)
CALL(int, syncfs, (int file), (file), ON_FILE)
CALL(int, sync_file_range, (int file, off64_t at, off64_t size, unsigned flags), (file, at, size, flags), ON_FILE)
CALL(int, flock, (int file, int operation), (file, operation), ON_FILE)

CALL(int, fchmod, (int file, mode_t mode), (file, mode), ON_FILE)
CALL(int, fchown, (int file, uid_t user, gid_t group), (file, user, group), ON_FILE)
CALL(int, futimens, (int file, const timespec *times), (file, times), ON_FILE)
CALL(int, utimensat, (int at, const char *path, const timespec *times, int flags), (at, path, times, flags), ON_NAME)
CALL(int, fsetxattr, (int file, const char *name, const void *value, size_t size, int flags),
     (file, name, value, size, flags), ON_FILE)
CALL(ssize_t, fgetxattr, (int file, const char *name, void *value, size_t size), (file, name, value, size), ON_FILE)
CALL(ssize_t, flistxattr, (int file, char *names, size_t size), (file, names, size), ON_FILE)

extern "C" int faults_close(int file) asm("close");
int faults_close(int file) {
    static const auto real = next<decltype(&faults_close)>("close");
    // A close that fails has closed all the same.
    return meet(
        "close", placeOf(file), "", [&] { return real(file); }, EvenIfFailing::IsDone);
}

extern "C" int faults_ioctl(int file, unsigned long request, long argument) asm("ioctl");
int faults_ioctl(int file, unsigned long request, long argument) {
    static const auto real = next<decltype(&faults_ioctl)>("ioctl");
    const auto call = [&] { return real(file, request, argument); };
    return request == FICLONE ? meet("ioctl", placeOf(static_cast<int>(argument)), placeOf(file), call) : call();
}

/// What the C library has no wrapper for, or not yet.
extern "C" long faults_syscall(long number, long a, long b, long c, long d, long e, long f) asm("syscall");
long faults_syscall(long number, long a, long b, long c, long d, long e, long f) {
    static const auto real = next<decltype(&faults_syscall)>("syscall");
    const auto call = [&] { return real(number, a, b, c, d, e, f); };
    if (number == SYS_openat2)
        return meet("openat2", placeOf(static_cast<int>(a), reinterpret_cast<const char *>(b)), "", call);
    if (number == SYS_getdents64)
        return meet("getdents64", placeOf(static_cast<int>(a)), "", call);
    return call();
}

extern "C" int faults_clock_gettime(clockid_t which, timespec *now) asm("clock_gettime");
int faults_clock_gettime(clockid_t which, timespec *now) {
    static const auto real = next<decltype(&faults_clock_gettime)>("clock_gettime");
    const int result = real(which, now);
    if (result == 0 && (which == CLOCK_REALTIME || which == CLOCK_REALTIME_COARSE))
        now->tv_sec += Faults::shared().clockIsWrongBy;
    return result;
}

extern "C" int faults_gettimeofday(timeval *now, void *zone) asm("gettimeofday");
int faults_gettimeofday(timeval *now, void *zone) {
    static const auto real = next<decltype(&faults_gettimeofday)>("gettimeofday");
    const int result = real(now, zone);
    if (result == 0)
        now->tv_sec += Faults::shared().clockIsWrongBy;
    return result;
}

extern "C" time_t faults_time(time_t *stored) asm("time");
time_t faults_time(time_t *stored) {
    timespec now = {};
    faults_clock_gettime(CLOCK_REALTIME, &now);
    if (stored)
        *stored = now.tv_sec;
    return now.tv_sec;
}

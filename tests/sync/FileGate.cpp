#include "sync/FileGate.h"

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <system_error>

#include <fcntl.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/fanotify.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

constexpr std::uint64_t events = FAN_OPEN_PERM | FAN_ACCESS_PERM | FAN_EVENT_ON_CHILD;

FileDescriptor makeGroup() {
    // This class may answer with an errno of its own choice; older kernels don't know that.
    FileDescriptor group(::fanotify_init(FAN_CLASS_PRE_CONTENT | FAN_CLOEXEC, O_RDONLY | O_LARGEFILE));
    if (!group)
        throw std::system_error(errno, std::generic_category(), "fanotify_init");
    return group;
}

std::string nameOf(int file) {
    std::error_code error;
    return fs::read_symlink("/proc/self/fd/" + std::to_string(file), error).filename().native();
}

} // namespace

FileGate::FileGate(const std::vector<fs::path> &folders, Answer answerToEvent)
    : answer(std::move(answerToEvent)), group(makeGroup()), stop(::eventfd(0, EFD_CLOEXEC)) {
    for (const fs::path &folder : folders) {
        if (::fanotify_mark(group.get(), FAN_MARK_ADD, events, AT_FDCWD, folder.c_str()) != 0)
            throw std::system_error(errno, std::generic_category(), "fanotify_mark");
    }
    server = std::thread([this] { serve(); });
}

FileGate::~FileGate() {
    const std::uint64_t one = 1;
    if (::write(stop.get(), &one, sizeof one) == sizeof one)
        server.join();
}

void FileGate::respond(int event, int error) const {
    constexpr int errorShift = 24; // FAN_DENY_ERRNO, which Debian 12's headers do not have
    fanotify_response response = {event, FAN_ALLOW};
    if (error != 0)
        response.response = FAN_DENY | static_cast<std::uint32_t>(error) << errorShift;
    if (::write(group.get(), &response, sizeof response) == sizeof response)
        return;
    // An older kernel knows no reasons. An event without any answer would wait for ever.
    response.response = FAN_DENY;
    if (::write(group.get(), &response, sizeof response) != sizeof response)
        std::abort();
}

void FileGate::serve() {
    pollfd sources[] = {{group.get(), POLLIN, 0}, {stop.get(), POLLIN, 0}};
    while (::poll(sources, 2, -1) > 0 && sources[1].revents == 0) {
        alignas(fanotify_event_metadata) char buffer[4096];
        ssize_t left = ::read(group.get(), buffer, sizeof buffer);
        auto *event = reinterpret_cast<fanotify_event_metadata *>(buffer);
        for (; FAN_EVENT_OK(event, left); event = FAN_EVENT_NEXT(event, left)) {
            const FileDescriptor file(event->fd);
            const Event kind = event->mask & FAN_OPEN_PERM ? Event::Open : Event::Read;
            respond(event->fd, answer(kind, nameOf(event->fd)));
        }
    }
}

std::optional<std::string> FileGate::whyNot() {
    try {
        const FileGate probe({fs::temp_directory_path()}, [](Event, const std::string &) { return 0; });
    } catch (const std::system_error &error) {
        return std::string("opening files can't be held up here: ") + error.what();
    }
    return std::nullopt;
}

#include "store/Log.h"

#include "base/FileDescriptor.h"
#include "base/Paths.h"
#include "platform/AtomicFile.h"
#include "store/Locations.h"
#include "store/TestRoot.h"

#include <QByteArray>
#include <QDateTime>

#include <cstdint>
#include <cstdlib>
#include <system_error>

#include <fcntl.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;

constexpr std::uintmax_t rotationSize = 5'000'000;

void rotateIfDue(const fs::path &file) {
    std::error_code error;
    const std::uintmax_t size = fs::file_size(file, error);
    if (error || size <= rotationSize)
        return;
    fs::path older = file;
    older += ".1";
    fs::rename(file, older, error); // replaces the older generation
}

void append(const fs::path &file, const QByteArray &entry) {
    rotateIfDue(file);
    const FileDescriptor open(::open(file.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_NONBLOCK | O_CLOEXEC, 0600));
    if (!open)
        return;
    // One call, so that entries of two processes never interleave. What can't be written is lost.
    [[maybe_unused]] const ssize_t written =
        ::write(open.get(), entry.constData(), static_cast<std::size_t>(entry.size()));
}

/// By hand, because Qt's formatting follows the locale's digits and calendar.
QString stamp(const QDateTime &moment) {
    const QDate date = moment.date();
    const QTime time = moment.time();
    return QString::asprintf("%04d-%02d-%02d %02d:%02d:%02d", date.year(), date.month(), date.day(), time.hour(),
                             time.minute(), time.second());
}

fs::path folderOfLogs() {
    if (TestRoot::isActive())
        return Locations::homeURL() / "Library/Logs";
    const char *state = std::getenv("XDG_STATE_HOME");
    return state && *state == '/' ? Paths::standardised(state) : Locations::homeURL() / ".local/state";
}

} // namespace

Log &Log::shared() {
    // Never destroyed: other threads may write to the very end of the process.
    static Log *const log = new Log(folderOfLogs() / "Tarnwick Basic" / "Tarnwick Basic.log");
    return *log;
}

Log::Log(fs::path url) : file(std::move(url)) {
    AtomicFile::makePrivateFolder(file.parent_path());
}

void Log::write(const QString &message) {
    const QString entry = stamp(QDateTime::currentDateTime()) + QStringLiteral("  ") + message + u'\n';
    queue.post([path = file, bytes = entry.toUtf8()] { append(path, bytes); });
}

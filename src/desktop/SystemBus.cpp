#include "desktop/SystemBus.h"

#include "base/FileDescriptor.h"

#include <QByteArray>
#include <QCoreApplication>
#include <QPointer>

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>
#include <system_error>
#include <thread>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace SystemBus {

namespace {

/// The value of a key in the first of the addresses, such as "path" in "unix:path=/run/dbus,guid=1;tcp:".
std::string valueIn(std::string_view address, std::string_view key) {
    address = address.substr(0, address.find(';'));
    address.remove_prefix(std::min(address.find(':') + 1, address.size()));
    while (!address.empty()) {
        const std::string_view part = address.substr(0, address.find(','));
        if (part.starts_with(key) && part.substr(key.size()).starts_with('='))
            return QByteArray::fromPercentEncoding(QByteArray(part.substr(key.size() + 1).data(),
                                                              static_cast<qsizetype>(part.size() - key.size() - 1)))
                .toStdString();
        address.remove_prefix(std::min(part.size() + 1, address.size()));
    }
    return {};
}

/// None for an address that is no local socket.
FileDescriptor connectTo(const std::string &address) {
    const std::string path = valueIn(address, "path");
    const std::string name = path.empty() ? '\0' + valueIn(address, "abstract") : path;
    sockaddr_un place = {};
    place.sun_family = AF_UNIX;
    if (name.size() < 2 || name.size() >= sizeof place.sun_path)
        return {};
    std::memcpy(place.sun_path, name.data(), name.size());
    FileDescriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    const auto length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + name.size());
    if (socket && ::connect(socket.get(), reinterpret_cast<const sockaddr *>(&place), length) != 0)
        socket.reset();
    return socket;
}

/// Begins to log in, as every client does, and waits for the first word.
bool answers() {
    const char *set = std::getenv("DBUS_SYSTEM_BUS_ADDRESS");
    const FileDescriptor bus = connectTo(set && *set ? set : "unix:path=/var/run/dbus/system_bus_socket");
    if (!bus)
        return false;
    const QByteArray user = QByteArray::number(::getuid()).toHex();
    const std::string hello = std::string(1, '\0') + "AUTH EXTERNAL " + user.toStdString() + "\r\n";
    char word = 0;
    return ::send(bus.get(), hello.data(), hello.size(), MSG_NOSIGNAL) > 0 && ::read(bus.get(), &word, 1) == 1;
}

} // namespace

void whenItAnswers(QObject *context, std::function<void()> then) {
    static std::atomic<bool> hasAnswered = false;
    if (hasAnswered)
        return then();
    const auto ask = [context = QPointer(context), then = std::move(then)] {
        if (!answers() || !QCoreApplication::instance())
            return;
        hasAnswered = true;
        QMetaObject::invokeMethod(
            QCoreApplication::instance(),
            [context, then] {
                if (context)
                    then();
            },
            Qt::QueuedConnection);
    };
    try {
        std::thread(ask).detach(); // a mute bus keeps it for good
    } catch (const std::system_error &) {
        // Without a thread there is no system bus.
    }
}

} // namespace SystemBus

#include "support/ServedMount.h"

#include "support/Shell.h"

#include <QStringList>

#include <chrono>
#include <csignal>
#include <fstream>
#include <iterator>
#include <stdexcept>

#include <unistd.h>

ServedMount::ServedMount(const std::vector<std::string> &words, const std::filesystem::path &mountPoint)
    : place(mountPoint) {
    QStringList arguments;
    for (const std::string &word : words)
        arguments.append(QString::fromStdString(word));
    server.setStandardOutputFile(QProcess::nullDevice());
    server.setStandardErrorFile(QProcess::nullDevice());
    server.start(arguments.takeFirst(), arguments);
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::minutes(1);
    while (!isMounted()) {
        server.waitForFinished(10);
        if (server.state() != QProcess::NotRunning && std::chrono::steady_clock::now() < deadline)
            continue;
        end();
        throw std::runtime_error("nothing was mounted at " + place.native() + " by " + words.front());
    }
}

ServedMount::~ServedMount() {
    end();
}

bool ServedMount::isMounted() const {
    std::ifstream table("/proc/self/mountinfo");
    const std::string all(std::istreambuf_iterator<char>(table), {});
    return all.find(' ' + place.native() + ' ') != std::string::npos;
}

void ServedMount::end() {
    QProcess::execute(QStringLiteral("fusermount3"), {QStringLiteral("-uzq"), QString::fromStdString(place)});
    server.terminate();
    if (!server.waitForFinished())
        kill();
    server.waitForFinished();
}

void ServedMount::kill() const {
    if (server.processId() > 0)
        ::kill(static_cast<pid_t>(server.processId()), SIGKILL);
}

std::optional<std::string> ServedMount::whyNot(const std::string &probe) try {
    shell("test -w /dev/fuse && type fusermount3 && " + probe);
    return std::nullopt;
} catch (const std::exception &error) {
    return error.what();
}

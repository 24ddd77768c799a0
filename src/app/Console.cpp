#include "app/Console.h"

#include "app/TarnwickBasicMain.h"
#include "base/Fmt.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>

#include <sys/ioctl.h>
#include <unistd.h>

namespace Console {

namespace {

/// The first failure of standard output, as errno; 0 while there is none.
int outputError = 0;

void write(std::FILE *stream, const QByteArray &bytes) {
    const auto length = static_cast<std::size_t>(bytes.size());
    const bool isWritten = std::fwrite(bytes.constData(), 1, length, stream) == length && std::fflush(stream) == 0;
    if (!isWritten && stream == stdout && outputError == 0)
        outputError = errno;
}

bool isTerminal(std::FILE *stream) {
    return ::isatty(::fileno(stream)) == 1;
}

void writeLine(std::FILE *stream, const QString &line) {
    write(stream, (isTerminal(stream) ? Console::shown(line) : line).toUtf8() + '\n');
}

int terminalWidth() {
    winsize size = {};
    return ::ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : 80;
}

QString shortened(const QString &text, int width) {
    if (text.size() <= width)
        return text;
    const qsizetype half = std::max(0, (width - 1) / 2);
    return text.left(half) + u'…' + text.right(half);
}

} // namespace

void out(const QString &line) {
    writeLine(stdout, line);
}

void outDocument(const QByteArray &document) {
    if (!isTerminal(stdout))
        return write(stdout, document + '\n');
    for (const QString &line : QString::fromUtf8(document).split(u'\n'))
        writeLine(stdout, line);
}

void error(const QString &line) {
    writeLine(stderr, line);
}

void tellStopping() {
    if (isTerminal(stderr)) // over the line of progress
        write(stderr, "\r\033[KStopping safely; press Ctrl-C again to end at once.\n");
}

int finish(int exitStatus) {
    if (outputError == 0 && std::ferror(stdout) == 0)
        return exitStatus;
    const QString reason = outputError != 0 ? QStringLiteral(": ") + Fmt::systemError(outputError) : QString();
    error(QStringLiteral("write error") + reason);
    return exitStatus == TarnwickBasicMain::Clean ? static_cast<int>(TarnwickBasicMain::Trouble) : exitStatus;
}

QString shown(const QString &text) {
    QString result = text;
    for (QChar &c : result) {
        if (c.unicode() < 0x20)
            c = QChar(c.unicode() + 0x2400); // the picture of this very character
        else if (c.unicode() == 0x7f)
            c = QChar(0x2421);
        else if (c.category() == QChar::Other_Control)
            c = QChar::ReplacementCharacter;
    }
    return result;
}

QString progressText(const SyncProgress &progress) {
    if (progress.stage == SyncProgress::Stage::scanning)
        return QStringLiteral("Comparing “") + progress.pairName + QStringLiteral("”: ") +
               Fmt::counted(progress.scanned, QStringLiteral("file"));
    return QString::number(progress.filesDone) + QStringLiteral(" of ") +
           Fmt::counted(progress.filesTotal, QStringLiteral("file")) + QStringLiteral(", ") +
           Fmt::byteCount(progress.bytesDone) + QStringLiteral(" of ") + Fmt::byteCount(progress.bytesTotal) +
           (progress.currentFile.isEmpty() ? QString() : QStringLiteral(": ") + progress.currentFile);
}

ProgressLine::ProgressLine() : isOnTerminal(isTerminal(stderr)) {
}

ProgressLine::~ProgressLine() {
    clear();
}

void ProgressLine::show(const SyncProgress &progress) {
    if (!isOnTerminal)
        return;
    write(stderr, "\r\033[K" + shortened(shown(progressText(progress)), terminalWidth() - 1).toUtf8());
    isShown = true;
}

void ProgressLine::clear() {
    if (isShown)
        write(stderr, "\r\033[K");
    isShown = false;
}

} // namespace Console

#include "app/Console.h"

#include "base/Fmt.h"

#include <algorithm>
#include <cstdio>

#include <sys/ioctl.h>
#include <unistd.h>

namespace Console {

namespace {

void write(std::FILE *stream, const QByteArray &bytes) {
    std::fwrite(bytes.constData(), 1, static_cast<std::size_t>(bytes.size()), stream);
    std::fflush(stream);
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
    write(stdout, line.toUtf8() + '\n');
}

void outDocument(const QByteArray &document) {
    write(stdout, document + '\n');
}

void error(const QString &line) {
    write(stderr, line.toUtf8() + '\n');
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

ProgressLine::ProgressLine() : isTerminal(::isatty(STDERR_FILENO) == 1) {
}

ProgressLine::~ProgressLine() {
    clear();
}

void ProgressLine::show(const SyncProgress &progress) {
    if (!isTerminal)
        return;
    QString text = progressText(progress);
    // A name may hold control characters; on a terminal they would act.
    std::replace_if(
        text.begin(), text.end(), [](QChar c) { return c.category() == QChar::Other_Control; }, u'\uFFFD');
    write(stderr, "\r\033[K" + shortened(text, terminalWidth() - 1).toUtf8());
    isShown = true;
}

void ProgressLine::clear() {
    if (isShown)
        write(stderr, "\r\033[K");
    isShown = false;
}

} // namespace Console

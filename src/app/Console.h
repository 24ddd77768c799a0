#pragma once

#include "records/SyncProgress.h"

#include <QByteArray>
#include <QString>

/// Standard output and standard error, in UTF-8 whatever the locale.
namespace Console {

/// One line on standard output.
void out(const QString &line);
/// A whole document on standard output, followed by a line feed.
void outDocument(const QByteArray &document);
/// One line on standard error.
void error(const QString &line);

/// One line of progress on standard error that redraws itself; nothing at all where standard error is no terminal.
class ProgressLine {
  public:
    ProgressLine();
    ~ProgressLine();

    void show(const SyncProgress &progress);
    void clear();

  private:
    bool isTerminal;
    bool isShown = false;
};

/// The words of the progress line.
QString progressText(const SyncProgress &progress);

} // namespace Console

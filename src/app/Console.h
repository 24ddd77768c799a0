#pragma once

#include "records/SyncProgress.h"

#include <QByteArray>
#include <QString>

/// Standard output and standard error, in UTF-8 whatever the locale. On a terminal control characters, which the name
/// of a file may hold, are shown and never sent: there they would act.
namespace Console {

/// One line on standard output.
void out(const QString &line);
/// A whole document on standard output, followed by a line feed.
void outDocument(const QByteArray &document);
/// One line on standard error.
void error(const QString &line);

/// Tells on a terminal that what runs is being stopped safely, and how to end it at once.
void tellStopping();

/// The end of all output: the exit status, which becomes that of an error when standard output didn't take everything.
int finish(int exitStatus);

/// One line of progress on standard error that redraws itself; nothing at all where standard error is no terminal.
class ProgressLine {
  public:
    ProgressLine();
    ~ProgressLine();

    void show(const SyncProgress &progress);
    void clear();

  private:
    bool isOnTerminal;
    bool isShown = false;
};

/// The text with its control characters made visible.
QString shown(const QString &text);

/// The words of the progress line.
QString progressText(const SyncProgress &progress);

} // namespace Console

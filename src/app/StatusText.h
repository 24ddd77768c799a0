#pragma once

#include <QString>

#include <optional>

class AppModel;
struct SyncRun;

/// What the status item, its menu and the notification say, apart from them so that it can be tested as values.
namespace StatusText {

/// Whether the last run is something to look at: it failed, had problems or was cancelled. Never while syncing.
bool badgeIsShown(const AppModel &model);

/// The text beside the icon: none when idle, " …" while comparing, " 50%" while copying.
QString title(const AppModel &model);

QString tooltip(const AppModel &model);

/// The first line of the menu.
QString statusLine(const AppModel &model);

/// The line of the menu about the last run; none when there was none.
std::optional<QString> lastSync(const AppModel &model);

/// The title of the notification about a finished run, whose body is the run's headline.
QString notificationTitle(const SyncRun &run);

/// The title of the notification that the sync which kept a drive from being ejected has come to its end.
QString canBeEjected(const QString &drive);

} // namespace StatusText

#pragma once

#include <QColor>
#include <QPalette>
#include <QString>

class AppModel;
struct SyncProgress;
struct SyncRun;

/// Texts of the sync card, apart from the widget so that they can be tested as values.
namespace SyncCardText {

/// Whether a sync runs and has come to copying.
bool isCopying(const AppModel &model);

/// No fatal text, no problem, not cancelled.
bool isClean(const SyncRun &run);

QString iconName(const AppModel &model);
QColor iconColour(const AppModel &model, const QPalette &palette);
QString title(const AppModel &model);
QString subtitle(const AppModel &model);
bool subtitleIsWarning(const AppModel &model);
/// Whether the last run has something to look at.
bool reviewIsShown(const AppModel &model);

/// How much is done, 0 to 1: of the bytes, or of the files when there are no bytes.
double fraction(const SyncProgress &progress);

} // namespace SyncCardText

#pragma once

#include "store/Locations.h"

#include <QString>

#include <optional>
#include <vector>

class AppModel;

/// Texts of the Settings tab, apart from the widgets so that they can be tested as values.
namespace SettingsText {

/// One statement of the safety list.
struct SafetyLine {
    QString icon;
    QString text;
};
const std::vector<SafetyLine> &safetyLines();

QString nameRules();
/// The OneDrive folder in use, for showing; none when there is none.
std::optional<QString> oneDriveFolder(const AppModel &model);
/// What stands in its place when there is none.
QString noOneDriveFolder(const AppModel &model);
/// What the user should know of the OneDrive folder, for where it can be chosen.
std::optional<QString> oneDriveNotice(const AppModel &model);
/// How a folder is called among the `found` ones: its name and what it is, with its path where two would read the same.
QString oneDriveChoice(const Locations::OneDriveFolder &folder, const std::vector<Locations::OneDriveFolder> &found);
/// "Version 1.0.0 (12)"; a value that is missing is an en dash.
QString version(const QString &version, const QString &build);

} // namespace SettingsText

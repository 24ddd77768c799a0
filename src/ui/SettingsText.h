#pragma once

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
/// "Version 1.0.0 (12)"; a value that is missing is an en dash.
QString version(const QString &version, const QString &build);

} // namespace SettingsText

#pragma once

#include <QString>

#include <filesystem>
#include <functional>
#include <optional>
#include <vector>

class AppModel;
class QWidget;

/// The folder-open panel: the desktop's own where it has one.
namespace FolderPanel {

struct Request {
    QString title;
    QString message; ///< shown where the panel can
    QString confirm; ///< the label of its button
    std::filesystem::path start;
    std::vector<std::filesystem::path> places; ///< Offered at its side, where it is Qt's own.
};

/// The places where folders to back up and backups lie: the home folder, OneDrive and the drives, as far as they
/// answer.
std::vector<std::filesystem::path> placesOf(const AppModel &model);

/// Where to begin: at `wanted`, at home if that isn't answering.
std::filesystem::path startAt(const std::filesystem::path &wanted, const AppModel &model);

/// Shows the panel, modal to `parent`; none when it was cancelled. New folders can be made in it.
std::optional<std::filesystem::path> choose(QWidget *parent, const Request &request);

using Chooser = std::function<std::optional<std::filesystem::path>(QWidget *parent, const Request &request)>;
/// What answers instead of the panel; null for the panel itself. For tests.
void answerWith(Chooser chooser);

} // namespace FolderPanel

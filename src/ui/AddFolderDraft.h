#pragma once

#include <QString>

#include <filesystem>
#include <functional>
#include <optional>

class AppModel;

/// What has been chosen in the Add Folder sheet so far, and what follows from it. A value without a widget.
struct AddFolderDraft {
    using Path = std::filesystem::path;

    std::optional<Path> source = {};       ///< The folder to back up.
    QString name = {};                     ///< Of a new backup folder inside OneDrive.
    std::optional<Path> chosenFolder = {}; ///< An existing backup folder; takes precedence over `name`.
    std::optional<Path> missing = {};      ///< A place where it is known that no folder stands.
    std::optional<QString> error = {};     ///< The last refusal.

    /// Where the backup would go: none while nothing sensible is chosen.
    std::optional<Path> destination(const AppModel &model) const;
    bool canAdd(const AppModel &model) const { return source && destination(model); }
    /// What will happen, in one sentence.
    QString summary(const AppModel &model) const;

    /// What is announced once a folder was added; it says that the folder waits for a sync.
    static QString added(const QString &folder);

    /// What stands in place of the OneDrive folder while there is none.
    static QString noOneDrive(const AppModel &model);

    /// Takes over a chosen source. The name follows it until an existing backup folder has been picked.
    void setSource(const Path &folder);
    void setChosenFolder(const Path &folder);
    /// Adds the pair. `done` is called once the disks have told whether that can be, with the refusal or none.
    void add(AppModel &model, const std::function<void(const std::optional<QString> &refusal)> &done) const;
};

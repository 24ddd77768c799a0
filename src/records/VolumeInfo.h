#pragma once

#include <QString>

#include <filesystem>
#include <functional>
#include <optional>

/// A mounted drive. Not stored in any file.
struct VolumeInfo {
    std::filesystem::path url = {}; ///< The drive's root folder.
    QString name = {};              ///< As shown to the user.
    std::optional<QString> uuid = {};
    QString fsType = {}; ///< As the system reports it, such as "msdos"; empty when unknown.

    bool operator==(const VolumeInfo &) const = default;

    /// The drive's key: its UUID, or "name:" and its name when it has none.
    QString id() const { return uuid ? *uuid : QStringLiteral("name:") + name; }
};

template <>
struct std::hash<VolumeInfo> {
    std::size_t operator()(const VolumeInfo &volume) const;
};

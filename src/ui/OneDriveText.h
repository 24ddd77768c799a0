#pragma once

#include "store/Locations.h"

#include <QString>

#include <filesystem>
#include <optional>

/// How places in OneDrive are put into words.
namespace OneDriveText {

/// The folder's name; "OneDrive-Contoso" reads "OneDrive – Contoso".
QString displayName(const std::filesystem::path &root);

/// Why there is no folder, in a few words; not for the state Ready.
QString absence(Locations::OneDriveInUse::State state);

/// A folder inside `root` as "OneDrive › A › B"; none when it is not inside, or is the root itself.
std::optional<QString> location(const std::filesystem::path &folder, const std::optional<std::filesystem::path> &root);

} // namespace OneDriveText

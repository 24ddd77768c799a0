#pragma once

#include <QString>

#include <optional>

/// Whether the desktop opens the application when the user logs in: an entry in the user's autostart folder. Stateless;
/// for the main thread.
namespace LoginItem {

/// Registers or removes the application; the sentence for the user when that failed. With a test root active nothing is
/// done.
std::optional<QString> set(bool enabled);

/// Whether it is registered now.
bool isEnabled();

} // namespace LoginItem

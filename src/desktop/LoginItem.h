#pragma once

#include <QString>

#include <optional>

/// Whether the desktop opens the application when the user logs in: an entry in the user's autostart folder, which
/// overrides one of the same name that came with the system. Stateless; for the main thread.
namespace LoginItem {

/// Registers or removes the application; the sentence for the user when that failed. With a test root active nothing is
/// done.
std::optional<QString> set(bool enabled);

/// Whether it is registered now: the entry is there, nobody has switched it off, and the program that it starts exists.
bool isEnabled();

} // namespace LoginItem

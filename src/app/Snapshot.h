#pragma once

#include <string>

namespace SelfTest {

/// Renders one screen of the application to a PNG file, with or without a display: "folders", "activity", "settings" or
/// "addfolder". No sync is started and no drive profile touched. Returns the exit status.
int snapshot(const std::string &path, const std::string &tab);

} // namespace SelfTest

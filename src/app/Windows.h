#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

class QApplication;
class QObject;

/// What the modes with windows share.
namespace Windows {

/// Hands the toolkit its own options; to be called before everything else here.
void useToolkitOptions(const std::vector<std::string> &options);

/// Whether there is a display to show windows on (or a platform was chosen by hand).
bool hasDisplay();

/// The application object with its look. Without a display it draws offscreen.
std::unique_ptr<QApplication> makeApplication();

/// As long as `context` lives the look follows the desktop's choice of light or dark; `then` is called after every
/// change.
void followColours(QObject *context, std::function<void()> then);

} // namespace Windows

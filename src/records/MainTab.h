#pragma once

#include <QString>

#include <array>

/// The tabs of the main window, in their order.
enum class MainTab { folders, activity, settings };

inline constexpr std::array mainTabs = {MainTab::folders, MainTab::activity, MainTab::settings};

/// The tab's text and identity: "Folders", "Activity" or "Settings".
QString title(MainTab tab);

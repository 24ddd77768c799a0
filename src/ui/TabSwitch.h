#pragma once

#include "records/MainTab.h"

#include <QFrame>

#include <functional>
#include <vector>

class QPushButton;

/// The segmented control that chooses the tab.
class TabSwitch : public QFrame {
  public:
    TabSwitch(std::function<void(MainTab)> onChoice, QWidget *parent = nullptr);

    void render(MainTab tab);

  private:
    std::vector<QPushButton *> segments; // in the order of the tabs
};

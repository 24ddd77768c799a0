#pragma once

#include "records/MainTab.h"

#include <QFrame>

#include <functional>
#include <vector>

class QAbstractButton;

/// The segmented control that chooses the tab.
class TabSwitch : public QFrame {
  public:
    TabSwitch(std::function<void(MainTab)> onChoice, QWidget *parent = nullptr);

    void render(MainTab tab);

  private:
    std::vector<QAbstractButton *> segments; // in the order of the tabs
};

#pragma once

#include "ui/Card.h"

class AppModel;
class ElidedLabel;
class IconDisc;
class QAction;
class QLabel;
class QProgressBar;
class QPushButton;

/// What the program is doing, at a glance, and Sync Now.
class SyncCard : public Card {
  public:
    /// The button Sync Now triggers `syncNow`, which is enabled and disabled here.
    SyncCard(AppModel &appModel, QAction *syncNow, QWidget *parent = nullptr);

    void render();
    /// Less high: for windows with little room.
    void setCompact(bool isCompact);

  private:
    void renderProgress();
    void review();

    AppModel &model;
    QAction *syncNowAction;
    IconDisc *disc;
    ElidedLabel *title;
    QProgressBar *bar;
    QLabel *subtitle;
    ElidedLabel *currentFile;
    QPushButton *reviewButton;
    QPushButton *syncButton;
    QPushButton *cancelButton;
    int shownProgress = 0; // never goes back within one run
};

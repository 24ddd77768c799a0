#pragma once

#include <QWidget>

class AppModel;
class BannerView;
class EmptyStateView;
class QListView;
class RunDetailView;
class RunListModel;

/// The tab with the history: the list of runs, and the details of the selected one.
class ActivityView : public QWidget {
  public:
    explicit ActivityView(AppModel &appModel, QWidget *parent = nullptr);

    void render();
    /// Less high: for windows with little room. Then the notice stands in the Folders tab alone.
    void setCompact(bool compact);

  private:
    QWidget *makeBar();
    QWidget *makeHistory();
    void renderBanner();
    void renderSelection();

    AppModel &model;
    BannerView *banner;
    QWidget *bar;
    EmptyStateView *empty;
    QWidget *history;
    RunListModel *runs;
    QListView *list;
    RunDetailView *detail;
    bool isRendering = false;
    bool isCompact = false;
};

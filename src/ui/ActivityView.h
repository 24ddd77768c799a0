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

  private:
    QWidget *makeBar();
    QWidget *makeHistory();
    void renderSelection();

    AppModel &model;
    BannerView *banner;
    EmptyStateView *empty;
    QWidget *history;
    RunListModel *runs;
    QListView *list;
    RunDetailView *detail;
    bool isRendering = false;
};

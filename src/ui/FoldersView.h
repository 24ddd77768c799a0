#pragma once

#include <QWidget>

#include <vector>

class AppModel;
class BannerView;
class ColumnTitle;
class EmptyStateView;
class PairRowView;
class QVBoxLayout;
class ScrolledColumn;

/// The tab with the folder list.
class FoldersView : public QWidget {
  public:
    explicit FoldersView(AppModel &appModel, QWidget *parent = nullptr);

    /// Shows the model's rows; widgets of pairs that stay are kept.
    void render();

    /// "Backups go into …", or where to look when there is no OneDrive.
    static QString oneDriveSubtitle(const AppModel &appModel);

  private:
    QWidget *makeHeadings();
    QWidget *makeBottomBar();
    void renderRows();

    AppModel &model;
    BannerView *banner;
    ColumnTitle *originals;
    ColumnTitle *oneDrive;
    EmptyStateView *empty;
    ScrolledColumn *list;
    QVBoxLayout *column; // of the rows, with a stretch at its end
    std::vector<PairRowView *> rows;
};

#pragma once

#include "records/SyncRun.h"
#include "ui/RunText.h"

#include <QTimer>
#include <QWidget>

#include <array>
#include <optional>

class GlyphView;
class QLabel;
class QListView;
class QMenu;
class RunDetailModel;
class RunDetailRow;
class StatTile;

/// Everything about one run.
class RunDetailView : public QWidget {
  public:
    explicit RunDetailView(QWidget *parent = nullptr);

    void render(const SyncRun &shown);

    /// Shows the file in the file manager; sounds the alert when it is gone.
    static void showFile(const QString &path);
    /// Fills a fresh menu with what can be done with the file of a line; with nothing where the line has none.
    static void fillContextMenu(QMenu &menu, const RunText::Item &item);

  protected:
    bool eventFilter(QObject *object, QEvent *event) override;

  private:
    QWidget *makeHeader();
    void copySelected() const;
    void popUpMenu(const QPoint &place);
    void layOutLines();

    GlyphView *icon;
    QLabel *headline;
    QLabel *meta;
    std::array<StatTile *, 6> tiles;
    RunDetailModel *items;
    RunDetailRow *rows;
    QListView *list;
    QTimer layOutLater; // while the window is being resized, for runs whose lines take long to lay out
    bool takesLong = false;
    std::optional<SyncRun> run; // a copy: the history may change between two renders
};

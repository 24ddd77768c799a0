#pragma once

#include "model/PairRow.h"

#include <QWidget>

class AppModel;
class BadgeView;
class Card;
class Connector;
class ElidedLabel;
class GlyphView;
class QCheckBox;
class QGraphicsOpacityEffect;
class QMenu;
class QToolButton;

/// One folder pair: the original, an arrow, the backup.
class PairRowView : public QWidget {
    Q_OBJECT
  public:
    PairRowView(AppModel &appModel, const PairRow &pairRow, QWidget *parent = nullptr);

    const QUuid &pairID() const { return row.pair.id; }
    void render(const PairRow &pairRow);
    /// Lets Tab reach the row's controls after `before`; the last of them.
    QWidget *follow(QWidget *before);
    /// Fills a fresh menu with what can be done with the row now.
    void fillContextMenu(QMenu &menu);
    void chooseBackup();
    void tellRefusal(const QString &refusal);

  protected:
    void contextMenuEvent(QContextMenuEvent *event) override;
    bool event(QEvent *event) override;

  private:
    QWidget *makeOriginalCell();
    QWidget *makeBackupCell();
    void fillBackupMenu(QMenu &menu);
    void renderCards();
    void renderOriginal();
    void renderBackup();

    AppModel &model;
    PairRow row;
    bool hoverState = false;
    Card *originalCard;
    Card *backupCard;
    QCheckBox *tick;
    GlyphView *folderGlyph;
    ElidedLabel *name;
    ElidedLabel *subtitle;
    Connector *connector;
    BadgeView *badge;
    GlyphView *cloudGlyph;
    ElidedLabel *backupName;
    ElidedLabel *backupCaption;
    QToolButton *menuButton;
    QGraphicsOpacityEffect *paleness;
};

#pragma once

#include <QWidget>

class GlyphView;
class QLabel;

/// One fact in a capsule: a dot that is green when all is well, a symbol and a text.
class StatusChip : public QWidget {
  public:
    explicit StatusChip(const QString &systemImage, QWidget *parent = nullptr);

    void render(bool ok, const QString &text);

    /// The text itself when all is well, else what to do.
    static QString tooltip(bool ok, const QString &systemImage, const QString &text);

  protected:
    void paintEvent(QPaintEvent *event) override;

  private:
    QString symbol;
    bool isOk = false;
    GlyphView *glyph;
    QLabel *label;
};

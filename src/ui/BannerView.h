#pragma once

#include <QWidget>

#include <functional>
#include <optional>

class GlyphView;
class QLabel;
class QToolButton;

/// A notice across the top of a tab, with a button that closes it.
class BannerView : public QWidget {
  public:
    BannerView(const QString &systemImage, std::function<void()> onClose, QWidget *parent = nullptr);

    QToolButton *closeButton() const { return close; }
    /// Shows the notice in this colour; hides itself when there is none.
    void render(const std::optional<QString> &text, const QColor &tint);

  protected:
    void paintEvent(QPaintEvent *event) override;

  private:
    GlyphView *glyph;
    QLabel *label;
    QToolButton *close;
    QColor colour;
};

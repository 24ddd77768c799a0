#pragma once

#include <QWidget>

class GlyphView;
class QLabel;

/// The heading of one column of the folder list.
class ColumnTitle : public QWidget {
  public:
    ColumnTitle(const QString &systemImage, const QString &title, QWidget *parent = nullptr);

    void setSubtitle(const QString &text);

  private:
    QLabel *subtitle;
};

#pragma once

#include <QScrollArea>
#include <QVBoxLayout>

/// A column of parts that scrolls up and down. The scroll bar stands in the column's right margin: the parts keep their
/// width and their place when it comes and goes.
class ScrolledColumn : public QScrollArea {
  public:
    ScrolledColumn(const QMargins &margins, int spacing, QWidget *parent = nullptr);

    QVBoxLayout *column() const { return parts; }

  protected:
    void resizeEvent(QResizeEvent *event) override;

  private:
    QMargins outside;
    QVBoxLayout *parts;
};

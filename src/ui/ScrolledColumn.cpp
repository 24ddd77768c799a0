#include "ui/ScrolledColumn.h"

ScrolledColumn::ScrolledColumn(const QMargins &margins, int spacing, QWidget *parent)
    : QScrollArea(parent), outside(margins), parts(new QVBoxLayout) {
    auto *content = new QWidget;
    content->setObjectName(QStringLiteral("scrolled"));
    content->setLayout(parts);
    parts->setContentsMargins(outside);
    parts->setSpacing(spacing);
    setWidget(content);
    setWidgetResizable(true);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setFocusPolicy(Qt::NoFocus);
}

void ScrolledColumn::resizeEvent(QResizeEvent *event) {
    parts->setContentsMargins(outside - QMargins(0, 0, width() - viewport()->width(), 0));
    QScrollArea::resizeEvent(event);
}

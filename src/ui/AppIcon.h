#pragma once

#include <QIcon>
#include <QWidget>

/// The application's icon: the brand's drive and cloud on a rounded blue tile.
namespace AppIcon {

QIcon icon();

} // namespace AppIcon

/// The icon as a part of a view.
class AppIconView : public QWidget {
  public:
    explicit AppIconView(int size, QWidget *parent = nullptr);

  protected:
    void paintEvent(QPaintEvent *event) override;
};

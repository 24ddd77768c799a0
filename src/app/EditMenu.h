#pragma once

#include <QMenu>

/// The standard menu of text actions, for whatever has the keyboard. They do what their keys do.
class EditMenu : public QMenu {
  public:
    explicit EditMenu(QWidget *parent);

  private:
    void add(const QString &title, Qt::KeyboardModifiers modifiers, Qt::Key key);
};

#pragma once

#include <QDialog>

/// The page that tells which OneDrive clients there are and how to set them up, built into the program so that it is
/// there wherever the program is.
class ClientsPage : public QDialog {
  public:
    explicit ClientsPage(QWidget *parent = nullptr);
};

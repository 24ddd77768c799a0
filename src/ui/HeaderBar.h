#pragma once

#include <QWidget>

class AppModel;
class QLabel;
class StatusChip;

/// Texts of the header's chips.
namespace HeaderText {

QString drives(const AppModel &model);
bool drivesAreOk(const AppModel &model);
QString oneDrive(const AppModel &model);

} // namespace HeaderText

/// The application's identity, and whether its drives and OneDrive are there.
class HeaderBar : public QWidget {
  public:
    explicit HeaderBar(AppModel &appModel, QWidget *parent = nullptr);

    void render();
    /// Less high: for windows with little room.
    void setCompact(bool isCompact);

  private:
    AppModel &model;
    QWidget *icon;
    QLabel *tagline;
    StatusChip *driveChip;
    StatusChip *oneDriveChip;
};

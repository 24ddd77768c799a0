#include "ui/FolderPanel.h"

#include "base/Text.h"
#include "model/AppModel.h"
#include "store/Locations.h"

#include <QFileDialog>
#include <QLabel>
#include <QLayout>
#include <QUrl>

namespace FolderPanel {

namespace {

Chooser standIn;

} // namespace

std::optional<std::filesystem::path> choose(QWidget *parent, const Request &request) {
    if (standIn)
        return standIn(parent, request);
    if (parent)
        parent->window()->activateWindow();
    QFileDialog dialog(parent, request.title, Text::fromPath(request.start));
    dialog.setFileMode(QFileDialog::Directory);
    dialog.setOption(QFileDialog::ShowDirsOnly);
    dialog.setLabelText(QFileDialog::Accept, request.confirm);
    const QList<QUrl> sideBar = dialog.sidebarUrls();
    QList<QUrl> places;
    for (const std::filesystem::path &place : request.places)
        places.append(QUrl::fromLocalFile(Text::fromPath(place)));
    dialog.setSidebarUrls(places);
    // Only Qt's own dialog has a layout that a line can be added to.
    if (auto *grid = qobject_cast<QGridLayout *>(dialog.layout())) {
        auto *message = new QLabel(request.message);
        message->setTextFormat(Qt::PlainText);
        grid->addWidget(message, grid->rowCount(), 0, 1, grid->columnCount());
    }
    const bool isChosen = dialog.exec() == QDialog::Accepted && !dialog.selectedFiles().isEmpty();
    dialog.setSidebarUrls(sideBar); // Qt remembers it for all programs
    if (!isChosen)
        return std::nullopt;
    return Text::toPath(dialog.selectedFiles().constFirst());
}

std::vector<std::filesystem::path> placesOf(const AppModel &model) {
    std::vector<std::filesystem::path> places = {Locations::homeURL()};
    if (const std::optional<std::filesystem::path> root = model.oneDriveRoot())
        places.push_back(*root);
    for (const VolumeInfo &drive : model.volumes())
        places.push_back(drive.url);
    std::erase_if(places, [&](const std::filesystem::path &place) { return !model.isAnswering(place); });
    return places;
}

std::filesystem::path startAt(const std::filesystem::path &wanted, const AppModel &model) {
    return model.isAnswering(wanted) ? wanted : Locations::homeURL();
}

void answerWith(Chooser chooser) {
    standIn = std::move(chooser);
}

} // namespace FolderPanel

#include "ui/FolderPanel.h"

#include "base/Text.h"

#include <QFileDialog>
#include <QLabel>
#include <QLayout>

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
    // Only Qt's own dialog has a layout that a line can be added to.
    if (auto *grid = qobject_cast<QGridLayout *>(dialog.layout())) {
        auto *message = new QLabel(request.message);
        message->setTextFormat(Qt::PlainText);
        grid->addWidget(message, grid->rowCount(), 0, 1, grid->columnCount());
    }
    if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty())
        return std::nullopt;
    return Text::toPath(dialog.selectedFiles().constFirst());
}

void answerWith(Chooser chooser) {
    standIn = std::move(chooser);
}

} // namespace FolderPanel

#include "ui/PairRowView.h"

#include "desktop/FileManager.h"
#include "model/AppModel.h"
#include "ui/BadgeView.h"
#include "ui/Buttons.h"
#include "ui/Card.h"
#include "ui/Connector.h"
#include "ui/FolderPanel.h"
#include "ui/Glyph.h"
#include "ui/Labels.h"
#include "ui/PairRowText.h"

#include <QCheckBox>
#include <QContextMenuEvent>
#include <QGraphicsOpacityEffect>
#include <QHBoxLayout>
#include <QMenu>
#include <QMessageBox>
#include <QPointer>
#include <QTextDocument>

namespace {

QVBoxLayout *twoLines(QWidget *upper, QWidget *lower) {
    auto *column = new QVBoxLayout;
    column->setSpacing(2);
    column->addStretch();
    column->addWidget(upper);
    column->addWidget(lower);
    column->addStretch();
    return column;
}

ElidedLabel *nameLabel() {
    return new ElidedLabel(Theme::font(Theme::Type::Body, QFont::DemiBold));
}

ElidedLabel *captionLabel() {
    auto *label = new ElidedLabel(Theme::font(Theme::Type::Caption));
    label->setSmallestScale(0.87);
    return label;
}

} // namespace

PairRowView::PairRowView(AppModel &appModel, const PairRow &pairRow, QWidget *parent)
    : QWidget(parent), model(appModel), originalCard(new Card), backupCard(new Card), tick(new QCheckBox),
      folderGlyph(new GlyphView(QStringLiteral("folder.fill"), 18)), name(nameLabel()), subtitle(captionLabel()),
      connector(new Connector), badge(new BadgeView), cloudGlyph(new GlyphView(QStringLiteral("cloud.fill"), 18)),
      backupName(nameLabel()), backupCaption(captionLabel()),
      menuButton(Buttons::symbolOnly(QStringLiteral("ellipsis.circle"), {},
                                     QStringLiteral("Choose a different backup folder"))),
      paleness(new QGraphicsOpacityEffect(this)) {
    auto *layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(makeOriginalCell(), 1);
    layout->addWidget(connector);
    layout->addWidget(makeBackupCell(), 1);
    setGraphicsEffect(paleness);
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    render(pairRow);
}

QWidget *PairRowView::makeOriginalCell() {
    tick->setToolTip(QStringLiteral("Sync this folder"));
    // Toggled, not clicked: a screen reader toggles. Showing what the model has changes nothing.
    connect(tick, &QCheckBox::toggled, this, [this](bool on) { model.setEnabled(row.pair.id, on); });
    auto *layout = new QHBoxLayout(originalCard);
    layout->setContentsMargins(14, 10, 14, 10);
    layout->setSpacing(10);
    layout->addWidget(tick);
    layout->addWidget(folderGlyph);
    layout->addLayout(twoLines(name, subtitle), 1);
    return originalCard;
}

QWidget *PairRowView::makeBackupCell() {
    auto *menu = new QMenu(menuButton);
    connect(menu, &QMenu::aboutToShow, this, [this, menu] { fillBackupMenu(*menu); });
    menuButton->setMenu(menu);
    menuButton->setPopupMode(QToolButton::InstantPopup);
    auto *layout = new QHBoxLayout(backupCard);
    layout->setContentsMargins(14, 10, 10, 10);
    layout->setSpacing(10);
    layout->addWidget(badge);
    layout->addWidget(cloudGlyph);
    layout->addLayout(twoLines(backupName, backupCaption), 1);
    layout->addWidget(menuButton);
    return backupCard;
}

void PairRowView::render(const PairRow &pairRow) {
    row = pairRow;
    paleness->setOpacity(PairRowText::opacity(row));
    paleness->setEnabled(PairRowText::opacity(row) < 1);
    setAccessibleName(PairRowText::spoken(row));
    renderCards();
    renderOriginal();
    connector->render(PairPalette::fill(row.number, palette()), row.pair.enabled);
    renderBackup();
}

QWidget *PairRowView::follow(QWidget *before) {
    setTabOrder(before, tick);
    setTabOrder(tick, menuButton);
    return menuButton;
}

void PairRowView::renderCards() {
    const PairRowText::CardLook look = PairRowText::cardLook(row, hoverState, palette());
    for (Card *card : {originalCard, backupCard})
        card->setColours(look.fill, look.border, look.borderWidth);
}

void PairRowView::renderOriginal() {
    tick->setChecked(row.pair.enabled);
    tick->setAccessibleName(QStringLiteral("Sync “") + row.name() + QStringLiteral("”"));
    folderGlyph->setColour(row.pair.enabled ? PairPalette::colour(row.number, palette()) : Theme::secondary(palette()));
    name->setText(row.name());
    subtitle->setText(PairRowText::originalSubtitle(row));
    Labels::setStrength(subtitle, Labels::Strength::Secondary);
}

void PairRowView::renderBackup() {
    const QColor colour = PairPalette::colour(row.number, palette());
    badge->render(row.number, PairPalette::fill(row.number, palette()), false);
    cloudGlyph->setColour(row.pair.enabled ? colour : Theme::secondary(palette()));
    backupName->setText(PairRowText::backupTitle(row));
    backupCaption->setText(PairRowText::backupCaption(row, model.oneDriveRoot()));
    Labels::setStrength(backupName, row.backupURL ? Labels::Strength::Primary : Labels::Strength::Secondary);
    Labels::setStrength(backupCaption, row.backupURL ? Labels::Strength::Secondary : Labels::Strength::Tertiary);
    menuButton->setAccessibleName(QStringLiteral("Backup folder of “") + row.name() + QStringLiteral("”"));
}

void PairRowView::fillBackupMenu(QMenu &menu) {
    menu.clear();
    menu.addAction(QStringLiteral("Choose Backup Folder…"), this, &PairRowView::chooseBackup);
    if (row.backupURL && row.backupExists)
        menu.addAction(QStringLiteral("Show in File Manager"), this, [this] { FileManager::show(*row.backupURL); });
}

void PairRowView::fillContextMenu(QMenu &menu) {
    QAction *sync = menu.addAction(QStringLiteral("Sync “") + row.name() + QStringLiteral("” Now"), this,
                                   [this] { model.sync(std::vector{row.pair.id}, SyncTrigger::manual); });
    sync->setEnabled(!model.busy() && row.connected);
    menu.addSeparator();
    const std::optional<std::filesystem::path> original = model.originalURL(row.pair);
    if (original && row.connected)
        menu.addAction(QStringLiteral("Show Original in File Manager"), this,
                       [original] { FileManager::show(*original); });
    if (row.backupURL && row.backupExists)
        menu.addAction(QStringLiteral("Show Backup in File Manager"), this,
                       [this] { FileManager::show(*row.backupURL); });
    menu.addAction(QStringLiteral("Choose Backup Folder…"), this, &PairRowView::chooseBackup);
    menu.addSeparator();
    menu.addAction(QStringLiteral("Remove from List"), this, [this] { model.remove(row.pair.id); });
}

void PairRowView::contextMenuEvent(QContextMenuEvent *event) {
    auto *menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    fillContextMenu(*menu);
    menu->popup(event->globalPos());
}

void PairRowView::chooseBackup() {
    const std::optional<std::filesystem::path> root = model.oneDriveRoot();
    const std::filesystem::path start = row.backupURL ? row.backupURL->parent_path() : root.value_or("");
    const std::optional<std::filesystem::path> chosen = FolderPanel::choose(
        this, {QStringLiteral("Choose Backup Folder"),
               QStringLiteral("Where in OneDrive should “") + row.name() + QStringLiteral("” be backed up?"),
               QStringLiteral("Back Up Here"), FolderPanel::startAt(start, model), FolderPanel::placesOf(model)});
    if (!chosen)
        return;
    model.setBackup(row.pair.id, *chosen, [view = QPointer(this)](const std::optional<QString> &refusal) {
        if (view && refusal)
            view->tellRefusal(*refusal);
    });
}

void PairRowView::tellRefusal(const QString &refusal) {
    auto *alert = new QMessageBox(QMessageBox::Warning, QStringLiteral("That folder can't be used"),
                                  QStringLiteral("That folder can't be used"), QMessageBox::Ok, window());
    alert->setTextFormat(Qt::PlainText);
    alert->setInformativeText(Qt::convertFromPlainText(refusal)); // names come from disks
    alert->setAttribute(Qt::WA_DeleteOnClose);
    alert->open();
}

bool PairRowView::event(QEvent *event) {
    if (event->type() == QEvent::Enter || event->type() == QEvent::Leave) {
        hoverState = event->type() == QEvent::Enter;
        renderCards();
    }
    return QWidget::event(event);
}

#include "ui/AddFolderSheet.h"

#include "model/AppModel.h"
#include "store/Locations.h"
#include "ui/Buttons.h"
#include "ui/Card.h"
#include "ui/FolderPanel.h"
#include "ui/Glyph.h"
#include "ui/Labels.h"
#include "ui/OneDriveText.h"

#include <QHBoxLayout>
#include <QLineEdit>
#include <QPointer>

#include <algorithm>

namespace {

using Strength = Labels::Strength;

QHBoxLayout *rowIn(QWidget *parent) {
    auto *layout = new QHBoxLayout(parent);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(10);
    return layout;
}

QVBoxLayout *step(const QString &heading) {
    auto *column = new QVBoxLayout;
    column->setSpacing(6);
    column->addWidget(Labels::make(heading, Theme::font(Theme::Type::Body, QFont::DemiBold)));
    return column;
}

GlyphView *folderGlyph() {
    auto *glyph = new GlyphView(QStringLiteral("folder.fill"), 18);
    glyph->setTint(Theme::secondary);
    return glyph;
}

} // namespace

AddFolderSheet::AddFolderSheet(AppModel &appModel, QWidget *parent)
    : QDialog(parent), model(appModel), source(new ElidedLabel(Theme::font(Theme::Type::Body))),
      sourceButton(Buttons::make(QStringLiteral("Choose…"))),
      oneDriveName(Labels::make({}, Theme::font(Theme::Type::Body, QFont::DemiBold))), nameField(new QLineEdit),
      existingButton(Buttons::make(QStringLiteral("Choose Existing…"))),
      existingPath(new ElidedLabel(Theme::font(Theme::Type::Body))),
      summary(Labels::wrapping({}, Theme::font(Theme::Type::Caption), Strength::Secondary)),
      errorText(Labels::wrapping({}, Theme::font(Theme::Type::Callout), Strength::Warning)),
      addButton(Buttons::make(QStringLiteral("Add Folder"), {}, Buttons::Look::Prominent)) {
    setWindowTitle(QStringLiteral("Add a folder to back up"));
    setFixedWidth(Theme::scaled(640));
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(22, 22, 22, 22);
    layout->setSpacing(14);
    layout->addWidget(
        Labels::make(QStringLiteral("Add a folder to back up"), Theme::font(Theme::Type::Heading, QFont::Bold)));

    QVBoxLayout *first = step(QStringLiteral("1  Folder to back up"));
    first->addWidget(Labels::make(QStringLiteral("Any folder on your computer or on a connected drive."),
                                  Theme::font(Theme::Type::Caption), Strength::Secondary));
    first->addWidget(makeSourceRow());
    layout->addLayout(first);
    QVBoxLayout *second = step(QStringLiteral("2  Back up to"));
    second->addWidget(makeOneDriveTile());
    layout->addLayout(second);
    QVBoxLayout *third = step(QStringLiteral("3  Folder in OneDrive"));
    third->addWidget(newFolderRow = makeNewFolderRow());
    third->addWidget(existingRow = makeExistingRow());
    third->addWidget(summary);
    layout->addLayout(third);
    layout->addWidget(errorRow = makeErrorRow());
    layout->addStretch(1);
    layout->addWidget(makeButtonRow());
    connect(&model, &AppModel::changed, this, &AddFolderSheet::render); // OneDrive may come while it is open
    render();
}

QWidget *AddFolderSheet::makeSourceRow() {
    auto *row = new QWidget;
    QHBoxLayout *layout = rowIn(row);
    layout->addWidget(folderGlyph());
    layout->addWidget(source, 1);
    layout->addWidget(sourceButton);
    connect(sourceButton, &QPushButton::clicked, this, [this] { chooseSource(); });
    return row;
}

QWidget *AddFolderSheet::makeOneDriveTile() {
    auto *tile = new Card;
    auto *layout = new QHBoxLayout(tile);
    layout->setContentsMargins(12, 10, 12, 10);
    layout->setSpacing(10);
    auto *glyph = new GlyphView(QStringLiteral("cloud.fill"), 20);
    glyph->setColour(Theme::blue);
    layout->addWidget(glyph);
    layout->addWidget(oneDriveName, 1);
    return tile;
}

QWidget *AddFolderSheet::makeNewFolderRow() {
    auto *row = new QWidget;
    QHBoxLayout *layout = rowIn(row);
    QLabel *label = Labels::make(QStringLiteral("OneDrive ›"), Theme::font(Theme::Type::Body), Strength::Secondary);
    label->setBuddy(nameField);
    nameField->setPlaceholderText(QStringLiteral("Folder name"));
    nameField->setAccessibleName(QStringLiteral("Name of the folder in OneDrive"));
    nameField->setFixedWidth(240);
    connect(nameField, &QLineEdit::textEdited, this, [this](const QString &text) {
        draft.name = text;
        render();
    });
    layout->addWidget(label);
    layout->addWidget(nameField);
    layout->addStretch(1);
    layout->addWidget(existingButton);
    connect(existingButton, &QPushButton::clicked, this, [this] { chooseExisting(); });
    return row;
}

QWidget *AddFolderSheet::makeExistingRow() {
    auto *row = new QWidget;
    QHBoxLayout *layout = rowIn(row);
    QPushButton *another = Buttons::make(QStringLiteral("Use a New Folder Instead"));
    connect(another, &QPushButton::clicked, this, [this] {
        draft.chosenFolder.reset();
        render();
    });
    layout->addWidget(folderGlyph());
    layout->addWidget(existingPath, 1);
    layout->addWidget(another);
    return row;
}

QWidget *AddFolderSheet::makeErrorRow() {
    auto *row = new QWidget;
    QHBoxLayout *layout = rowIn(row);
    auto *glyph = new GlyphView(QStringLiteral("exclamationmark.triangle.fill"), 16);
    glyph->setTint(Theme::warning);
    layout->addWidget(glyph, 0, Qt::AlignTop);
    layout->addWidget(errorText, 1);
    return row;
}

QWidget *AddFolderSheet::makeButtonRow() {
    auto *row = new QWidget;
    QHBoxLayout *layout = rowIn(row);
    QPushButton *cancel = Buttons::make(QStringLiteral("Cancel"));
    connect(cancel, &QPushButton::clicked, this, &QDialog::reject);
    addButton->setDefault(true);
    connect(addButton, &QPushButton::clicked, this, [this] { add(); });
    layout->addStretch(1);
    layout->addWidget(cancel);
    layout->addWidget(addButton);
    return row;
}

void AddFolderSheet::render() {
    findOutWhetherTargetExists();
    const std::optional<std::filesystem::path> root = model.oneDriveRoot();
    source->setText(draft.source ? Locations::tildePath(*draft.source) : QStringLiteral("No folder chosen"));
    Labels::setStrength(source, draft.source ? Strength::Primary : Strength::Secondary);
    sourceButton->setText(draft.source ? QStringLiteral("Change…") : QStringLiteral("Choose…"));
    oneDriveName->setText(root ? OneDriveText::displayName(*root) : AddFolderDraft::noOneDrive(model));
    Labels::setStrength(oneDriveName, root ? Strength::Primary : Strength::Warning);
    newFolderRow->setVisible(!draft.chosenFolder);
    existingRow->setVisible(draft.chosenFolder.has_value());
    existingPath->setText(draft.chosenFolder ? Locations::tildePath(*draft.chosenFolder) : QString());
    if (nameField->text() != draft.name)
        nameField->setText(draft.name);
    existingButton->setEnabled(root.has_value());
    summary->setText(draft.summary(model));
    errorRow->setVisible(draft.error.has_value());
    errorText->setText(draft.error.value_or(QString()));
    addButton->setEnabled(draft.canAdd(model) && !isAdding);
    errorRow->updateGeometry(); // by itself it tells of its new height too late
    layout()->activate();
    resize(width(), std::max(minimumHeight(), layout()->totalHeightForWidth(width())));
}

void AddFolderSheet::chooseSource() {
    std::filesystem::path start = Locations::homeURL();
    if (draft.source)
        start = draft.source->parent_path();
    else if (!model.volumes().empty())
        start = model.volumes().front().url;
    const std::optional<std::filesystem::path> chosen = FolderPanel::choose(
        this, {QStringLiteral("Choose a Folder to Back Up"),
               QStringLiteral("Choose a folder in your home folder or on a connected drive."), QStringLiteral("Choose"),
               FolderPanel::startAt(start, model), FolderPanel::placesOf(model)});
    if (chosen)
        draft.setSource(*chosen);
    render();
}

void AddFolderSheet::chooseExisting() {
    const std::optional<std::filesystem::path> root = model.oneDriveRoot();
    if (!root)
        return;
    const std::optional<std::filesystem::path> chosen = FolderPanel::choose(
        this, {QStringLiteral("Choose the Backup Folder"),
               QStringLiteral("Choose the folder inside OneDrive where this backup should go."),
               QStringLiteral("Back Up Here"), FolderPanel::startAt(*root, model), FolderPanel::placesOf(model)});
    if (chosen)
        draft.setChosenFolder(*chosen);
    render();
}

void AddFolderSheet::add() {
    isAdding = true;
    render();
    draft.add(model, [sheet = QPointer(this)](const std::optional<QString> &refusal) {
        if (!sheet)
            return;
        sheet->isAdding = false;
        sheet->draft.error = refusal;
        refusal ? sheet->render() : sheet->accept();
    });
}

void AddFolderSheet::findOutWhetherTargetExists() {
    const std::optional<std::filesystem::path> target = draft.destination(model);
    if (!target || target == lookedFor)
        return;
    lookedFor = target;
    model.whetherFolder(*target, [sheet = QPointer(this), target](std::optional<bool> isFolder) {
        if (!sheet || isFolder != false)
            return;
        sheet->draft.missing = target;
        sheet->render();
    });
}

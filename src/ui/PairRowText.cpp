#include "ui/PairRowText.h"

#include "base/Fmt.h"
#include "base/Paths.h"
#include "base/Text.h"
#include "model/PairRow.h"
#include "model/Surroundings.h"
#include "store/Locations.h"
#include "ui/OneDriveText.h"
#include "ui/Theme.h"

namespace PairRowText {

QString originalSubtitle(const PairRow &row) {
    if (row.silentPlace)
        return row.originalSubtitle() + QStringLiteral(" · ") + Surroundings::silence(*row.silentPlace);
    if (row.isLookedAt && !row.connected)
        return row.originalSubtitle() + QStringLiteral(" · drive not connected");
    if (!row.pair.lastSummary || !row.pair.lastSync)
        return row.originalSubtitle();
    return row.originalSubtitle() + QStringLiteral(" · ") + *row.pair.lastSummary + QStringLiteral(", ") +
           Fmt::when(*row.pair.lastSync).toLower();
}

QString backupTitle(const PairRow &row) {
    return row.backupURL ? Text::fromBytes(Paths::lastComponent(Paths::standardised(*row.backupURL)))
                         : OneDriveText::absence(row.oneDrive);
}

QString backupCaption(const PairRow &row, const std::optional<std::filesystem::path> &oneDriveRoot) {
    if (!row.backupURL && row.oneDrive == Locations::OneDriveInUse::State::Unknown)
        return {};
    if (!row.backupURL)
        return row.oneDrive == Locations::OneDriveInUse::State::NotMounted
                   ? QStringLiteral("Start your OneDrive client")
                   : QStringLiteral("Open Settings to choose your OneDrive folder");
    const std::filesystem::path parent = Paths::standardised(*row.backupURL).parent_path();
    QString place = Locations::tildePath(parent);
    if (oneDriveRoot && Locations::relativeText(parent, *oneDriveRoot))
        place = OneDriveText::location(parent, oneDriveRoot).value_or(QStringLiteral("OneDrive"));
    const bool isKnown = row.isLookedAt && !row.silentPlace;
    return row.backupExists || !isKnown ? place : place + QStringLiteral(" · will be created");
}

QString spoken(const PairRow &row) {
    return QStringLiteral("Folder ") + QString::number(row.number) + QStringLiteral(", ") + row.name() +
           QStringLiteral(", ") + originalSubtitle(row) + QStringLiteral(", backed up to ") + backupTitle(row) +
           (row.pair.enabled ? QStringLiteral(", ticked") : QStringLiteral(", not ticked"));
}

double opacity(const PairRow &row) {
    return row.isLookedAt && !row.connected && !row.pair.enabled ? 0.6 : 1.0;
}

CardLook cardLook(const PairRow &row, bool isHovered, const QPalette &palette) {
    if (row.pair.enabled) {
        const QColor colour = PairPalette::colour(row.number, palette);
        return {Theme::faded(colour, isHovered ? 0.22 : 0.14), Theme::faded(colour, 0.7), 1.5};
    }
    return {Theme::faded(palette.color(QPalette::Base), isHovered ? 1.0 : 0.75),
            Theme::primary(palette, isHovered ? 0.18 : 0.08), 1};
}

} // namespace PairRowText

#pragma once

#include <QColor>
#include <QPalette>
#include <QString>

#include <filesystem>
#include <optional>

struct PairRow;

/// Texts and colours of a row of the folder list, apart from the widget so that they can be tested as values.
namespace PairRowText {

QString originalSubtitle(const PairRow &row);
QString backupTitle(const PairRow &row);
QString backupCaption(const PairRow &row, const std::optional<std::filesystem::path> &oneDriveRoot);
/// The whole row for a screen reader.
QString spoken(const PairRow &row);

/// Only a row that is switched off and not connected is drawn paler.
double opacity(const PairRow &row);

struct CardLook {
    QColor fill;
    QColor border;
    double borderWidth = 1;
};
CardLook cardLook(const PairRow &row, bool isHovered, const QPalette &palette);

} // namespace PairRowText

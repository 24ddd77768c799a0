#include "model/PairRow.h"

#include <QStringList>

QString PairRow::nameOf(const FolderPair &pair) {
    const QString last = pair.sourceRelPath.section(u'/', -1, -1, QString::SectionSkipEmpty);
    return last.isEmpty() ? pair.volumeName : last;
}

QString PairRow::originalSubtitle() const {
    QStringList parts = pair.sourceRelPath.split(u'/', Qt::SkipEmptyParts);
    if (!parts.isEmpty())
        parts.removeLast();
    parts.prepend(pair.volumeUUID == Locations::homeKey ? Locations::shownHomeName : pair.volumeName);
    return parts.join(QStringLiteral(" › "));
}

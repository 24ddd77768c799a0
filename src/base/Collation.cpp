#include "base/Collation.h"

#include <QCollator>
#include <QLocale>

namespace Collation {

namespace {

QCollator makeCollator() {
    // In the "C" locale a QCollator compares plain code units and ignores its numeric mode.
    const QLocale system = QLocale::system();
    QCollator collator(system.language() == QLocale::C ? QLocale(QLocale::English, QLocale::UnitedStates) : system);
    collator.setNumericMode(true);
    collator.setCaseSensitivity(Qt::CaseInsensitive);
    return collator;
}

} // namespace

int compare(const QString &a, const QString &b) {
    thread_local const QCollator collator = makeCollator();
    return collator.compare(a, b);
}

} // namespace Collation

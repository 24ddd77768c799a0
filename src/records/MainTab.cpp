#include "records/MainTab.h"

QString title(MainTab tab) {
    switch (tab) {
    case MainTab::folders:
        return QStringLiteral("Folders");
    case MainTab::activity:
        return QStringLiteral("Activity");
    case MainTab::settings:
        return QStringLiteral("Settings");
    }
    Q_UNREACHABLE();
}

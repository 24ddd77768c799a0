#include "ui/OneDriveText.h"

#include "base/Paths.h"
#include "base/Text.h"

#include <QStringList>

namespace OneDriveText {

QString displayName(const std::filesystem::path &root) {
    const QString name = Text::fromBytes(Paths::lastComponent(Paths::standardised(root)));
    const QString prefix = QStringLiteral("OneDrive-");
    return name.startsWith(prefix) ? QStringLiteral("OneDrive – ") + name.mid(prefix.size()) : name;
}

QString absence(Locations::OneDriveInUse::State state) {
    switch (state) {
    case Locations::OneDriveInUse::State::Unknown:
        return QStringLiteral("Looking for OneDrive…");
    case Locations::OneDriveInUse::State::NotMounted:
        return QStringLiteral("OneDrive not mounted");
    case Locations::OneDriveInUse::State::NotFound:
    case Locations::OneDriveInUse::State::Ready:
        break;
    }
    return QStringLiteral("OneDrive not found");
}

std::optional<QString> location(const std::filesystem::path &folder, const std::optional<std::filesystem::path> &root) {
    const std::optional<QString> rel = root ? Locations::relativeText(folder, *root) : std::nullopt;
    if (!rel || rel->isEmpty())
        return std::nullopt;
    return (QStringList(QStringLiteral("OneDrive")) + rel->split(u'/', Qt::SkipEmptyParts)).join(QStringLiteral(" › "));
}

} // namespace OneDriveText

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
    return state == Locations::OneDriveInUse::State::NotMounted ? QStringLiteral("OneDrive not mounted")
                                                                : QStringLiteral("OneDrive not found");
}

std::optional<QString> location(const std::filesystem::path &folder, const std::optional<std::filesystem::path> &root) {
    const std::optional<QString> rel = root ? Locations::relativePath(folder, *root) : std::nullopt;
    if (!rel || rel->isEmpty())
        return std::nullopt;
    return (QStringList(QStringLiteral("OneDrive")) + rel->split(u'/', Qt::SkipEmptyParts)).join(QStringLiteral(" › "));
}

} // namespace OneDriveText

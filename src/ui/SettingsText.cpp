#include "ui/SettingsText.h"

#include "base/Text.h"
#include "model/AppModel.h"
#include "store/Locations.h"
#include "sync/OneDriveNames.h"
#include "ui/OneDriveText.h"

#include <QStringList>

#include <algorithm>

namespace SettingsText {

const std::vector<SafetyLine> &safetyLines() {
    static const std::vector<SafetyLine> lines = {
        {QStringLiteral("trash.slash"),
         QStringLiteral(
             "It never deletes anything from OneDrive, and it never deletes anything from your folder. A file "
             "removed from your folder stays in OneDrive.")},
        {QStringLiteral("clock.arrow.2.circlepath"),
         QStringLiteral("It never replaces a newer file with an older one; those are listed as “left alone”.")},
        {QStringLiteral("doc.badge.clock"),
         QStringLiteral(
             "Each file is copied to a temporary file first and swapped in only when complete, so unplugging "
             "the drive can't leave half-copied files.")},
        {QStringLiteral("eye.slash"),
         QStringLiteral("Hidden and system files (.DS_Store, ._ files, Office “~$” lock files) and symbolic links are "
                        "skipped.")},
        {QStringLiteral("externaldrive.badge.checkmark"),
         QStringLiteral(
             "The folders you back up from a drive are remembered in a small file of Tarnwick Basic's own on "
             "that drive (.Tarnwick/profile-basic.json).")}};
    return lines;
}

QString nameRules() {
    QStringList extensions;
    for (const std::string_view extension : OneDriveNames::refusedExtensions)
        extensions.append(u'.' + Text::fromBytes(extension));
    extensions.sort();
    return QStringLiteral(
               "OneDrive's name rules are applied automatically. Names it can't store (invisible characters, "
               "a space at the end, or \" * : < > ? \\ |) and the file types it refuses (") +
           extensions.join(QStringLiteral(", ")) + QStringLiteral(") are skipped and listed in Activity.");
}

std::optional<QString> oneDriveFolder(const AppModel &model) {
    const std::optional<std::filesystem::path> root = model.oneDriveRoot();
    return root ? std::optional(Locations::tildePath(*root)) : std::nullopt;
}

QString noOneDriveFolder(const AppModel &model) {
    switch (model.oneDriveInUse().state) {
    case Locations::OneDriveInUse::State::Unknown:
        return QStringLiteral("Looking…");
    case Locations::OneDriveInUse::State::NotMounted:
        return QStringLiteral("Not mounted");
    case Locations::OneDriveInUse::State::NotFound:
    case Locations::OneDriveInUse::State::Ready:
        break;
    }
    return QStringLiteral("Not found");
}

std::optional<QString> oneDriveNotice(const AppModel &model) {
    const Locations::OneDriveInUse oneDrive = model.oneDriveInUse();
    if (oneDrive.state == Locations::OneDriveInUse::State::NotFound && !oneDrive.goneChoice)
        return QStringLiteral("OneDrive wasn't found on this computer. Choose its folder here, or set up a OneDrive "
                              "client first.");
    return model.oneDriveNotice();
}

QString oneDriveChoice(const Locations::OneDriveFolder &folder, const std::vector<Locations::OneDriveFolder> &found) {
    const auto reading = [](const Locations::OneDriveFolder &any) {
        const QString name = OneDriveText::displayName(any.url);
        return any.what.isEmpty() ? name : name + QStringLiteral(" · ") + any.what;
    };
    const QString text = reading(folder);
    const bool isAmbiguous = std::count_if(found.begin(), found.end(), [&](const Locations::OneDriveFolder &other) {
                                 return reading(other) == text;
                             }) > 1;
    return isAmbiguous ? text + QStringLiteral(" · ") + Locations::tildePath(folder.url) : text;
}

QString version(const QString &version, const QString &build) {
    const QString missing = QStringLiteral("–");
    return QStringLiteral("Version ") + (version.isEmpty() ? missing : version) + QStringLiteral(" (") +
           (build.isEmpty() ? missing : build) + u')';
}

} // namespace SettingsText

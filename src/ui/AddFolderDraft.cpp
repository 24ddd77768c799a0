#include "ui/AddFolderDraft.h"

#include "base/Paths.h"
#include "base/Text.h"
#include "model/AppModel.h"
#include "store/Locations.h"
#include "sync/OneDriveNames.h"
#include "ui/OneDriveText.h"

namespace {

QString lastComponent(const std::filesystem::path &path) {
    return Text::fromBytes(Paths::lastComponent(Paths::standardised(path)));
}

} // namespace

std::optional<AddFolderDraft::Path> AddFolderDraft::destination(const AppModel &model) const {
    if (chosenFolder)
        return chosenFolder;
    const std::optional<Path> root = model.oneDriveRoot();
    const QString trimmed = name.trimmed();
    if (!root || trimmed.isEmpty() || trimmed.contains(u'/'))
        return std::nullopt;
    return *root / Text::toPath(trimmed);
}

QString AddFolderDraft::summary(const AppModel &model) const {
    const std::optional<Path> target = destination(model);
    if (!source || !target)
        return QStringLiteral("Choose a folder to back up and a name for its folder in OneDrive.");
    const std::optional<QString> inside = OneDriveText::location(*target, model.oneDriveRoot());
    return QStringLiteral("“") + lastComponent(*source) + QStringLiteral("” will be backed up to ") +
           inside.value_or(Locations::tildePath(*target)) +
           (missing == target ? QStringLiteral(" (the folder will be created).") : QStringLiteral("."));
}

QString AddFolderDraft::noOneDrive(const AppModel &model) {
    const Locations::OneDriveInUse oneDrive = model.oneDriveInUse();
    if (oneDrive.state == Locations::OneDriveInUse::State::Unknown)
        return OneDriveText::absence(oneDrive.state);
    return oneDrive.state == Locations::OneDriveInUse::State::NotMounted
               ? QStringLiteral("OneDrive isn't mounted (") + Locations::tildePath(*oneDrive.mountPoint) + u')'
               : QStringLiteral("OneDrive wasn't found on this computer");
}

void AddFolderDraft::setSource(const Path &folder) {
    source = folder;
    error.reset();
    if (name.isEmpty() || !chosenFolder)
        name = lastComponent(folder);
}

void AddFolderDraft::setChosenFolder(const Path &folder) {
    chosenFolder = folder;
    error.reset();
}

void AddFolderDraft::add(AppModel &model, const std::function<void(const std::optional<QString> &)> &done) const {
    const std::optional<Path> target = destination(model);
    if (!source || !target)
        return;
    if (const std::optional<QString> refusal =
            chosenFolder ? std::nullopt : OneDriveNames::folderRefusal(lastComponent(*target)))
        return done(refusal);
    model.addPair(*source, *target,
                  [&model, done, name = lastComponent(*source)](const std::optional<QString> &refusal) {
                      if (!refusal)
                          model.setBanner(added(name));
                      done(refusal);
                  });
}

QString AddFolderDraft::added(const QString &folder) {
    return QStringLiteral("Added “") + folder + QStringLiteral("”. Press Sync Now to back it up.");
}

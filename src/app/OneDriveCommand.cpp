#include "app/OneDriveCommand.h"

#include "app/Arguments.h"
#include "app/Console.h"
#include "app/ModelSession.h"
#include "app/TarnwickBasicMain.h"
#include "base/Paths.h"
#include "model/AppModel.h"
#include "store/Locations.h"

#include <algorithm>
#include <array>

namespace OneDriveCommand {

namespace {

using namespace TarnwickBasicMain;

QString described(const Locations::OneDriveFolder &folder) {
    const QString path = Locations::tildePath(folder.url);
    return folder.what.isEmpty() ? path : path + QStringLiteral(" · ") + folder.what;
}

/// The folders found and, if it isn't among them, the one in use.
std::vector<Locations::OneDriveFolder> foldersOf(const AppModel &model) {
    std::vector<Locations::OneDriveFolder> folders = model.oneDriveFolders();
    const std::optional<std::filesystem::path> root = model.oneDriveRoot();
    const auto isInUse = [&](const Locations::OneDriveFolder &folder) { return folder.url == root; };
    if (root && std::none_of(folders.begin(), folders.end(), isInUse))
        folders.push_back({*root, QStringLiteral("chosen by hand")});
    return folders;
}

void print(const AppModel &model, const Locations::OneDriveFolder &folder) {
    Console::out(described(folder) + (folder.url == model.oneDriveRoot() ? QStringLiteral(" · in use") : QString()));
}

int show() {
    AppModel::setReadOnly(true);
    ModelSession session;
    session.waitForDisks();
    const AppModel &model = session.model();
    for (const Locations::OneDriveFolder &folder : foldersOf(model))
        print(model, folder);
    if (const std::optional<QString> notice = model.oneDriveNotice())
        Console::out(*notice);
    session.end(Clean);
    return Clean;
}

int refuse(const QString &sentence) {
    Console::error(sentence);
    return WrongUsage;
}

int chooseIn(ModelSession &session, const std::filesystem::path &folder) {
    session.startModel();
    session.tellNotice();
    AppModel &model = session.model();
    if (const std::optional<QString> refusal =
            session.answerOf([&](const AppModel::Answer &done) { model.chooseOneDrive(folder, done); }))
        return refuse(*refusal);
    const int status = session.toldWhetherSaved();
    for (const Locations::OneDriveFolder &known : foldersOf(model)) {
        if (status == Clean && known.url == model.oneDriveRoot())
            print(model, known);
    }
    return status;
}

int choose(const std::filesystem::path &folder) {
    ModelSession session;
    const std::optional<QString> refusal = session.claimSettings();
    const int status = refusal ? refuse(*refusal) : chooseIn(session, folder);
    session.end(status);
    return status;
}

} // namespace

int run(const std::vector<std::string> &arguments) {
    static constexpr std::array known = {"--onedrive"};
    const std::optional<Arguments> given = Arguments::parse(arguments, known);
    const bool isUsed = given && given->words.size() <= 1 && (given->words.empty() || !given->words[0].empty());
    if (!isUsed) {
        Console::error(QStringLiteral("usage: tarnwick-basic --onedrive [FOLDER]"));
        return WrongUsage;
    }
    return given->words.empty() ? show() : choose(Paths::standardised(given->words[0]));
}

} // namespace OneDriveCommand

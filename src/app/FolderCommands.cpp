#include "app/FolderCommands.h"

#include "app/Arguments.h"
#include "app/Console.h"
#include "app/ModelSession.h"
#include "app/TarnwickBasicMain.h"
#include "base/Paths.h"
#include "base/Text.h"
#include "json/JsonWriter.h"
#include "model/AppModel.h"
#include "store/Locations.h"
#include "sync/OneDriveNames.h"

#include <array>

namespace FolderCommands {

namespace {

using namespace TarnwickBasicMain;

int wrongUsage(const char *usage) {
    Console::error(QStringLiteral("usage: tarnwick-basic ") + QLatin1String(usage));
    return WrongUsage;
}

int refuse(const QString &sentence) {
    Console::error(sentence);
    return WrongUsage;
}

QString readiness(const PairRow &row) {
    if (!row.pair.enabled)
        return QStringLiteral("not ticked");
    if (row.silentPlace)
        return Surroundings::silence(*row.silentPlace);
    if (!row.connected)
        return QStringLiteral("the drive “") + row.pair.volumeName + QStringLiteral("” isn't connected");
    switch (row.oneDrive) {
    case Locations::OneDriveInUse::State::NotMounted:
        return QStringLiteral("OneDrive isn't mounted");
    case Locations::OneDriveInUse::State::NotFound:
        return QStringLiteral("OneDrive wasn't found");
    case Locations::OneDriveInUse::State::Unknown:
    case Locations::OneDriveInUse::State::Ready:
        break;
    }
    return QStringLiteral("ready");
}

void printLines(const AppModel &model) {
    for (const PairRow &row : model.rows()) {
        const QString backup =
            row.backupURL ? Locations::tildePath(*row.backupURL) : QStringLiteral("OneDrive/") + row.pair.backupRelPath;
        Console::out(QString::number(row.number) + QStringLiteral(". ") + row.name() + QStringLiteral(" (") +
                     row.originalSubtitle() + QStringLiteral(") → ") + backup + QStringLiteral(" · ") + readiness(row));
    }
    if (const std::optional<QString> blocker = model.syncBlocker())
        Console::out(*blocker);
}

/// A row as JSON: the pair's own fields, and what is known of its folders now.
struct ListedRow {
    const AppModel &model;
    const PairRow &row;

    void toJson(JsonWriter &out) const {
        const auto text = [](const std::optional<std::filesystem::path> &path) {
            return path ? std::optional(Text::fromPath(*path)) : std::nullopt;
        };
        out.beginObject();
        out.member("backup", text(row.backupURL));
        out.member("backupExists", row.backupExists);
        out.member("connected", row.connected);
        out.member("name", row.name());
        out.member("number", row.number);
        out.member("original", text(model.originalURL(row.pair)));
        out.member("pair", row.pair);
        out.member("readiness", readiness(row));
        out.endObject();
    }
};

void printJson(const AppModel &model) {
    JsonWriter out;
    out.beginObject();
    out.member("blocker", model.syncBlocker());
    out.key("folders");
    out.beginArray();
    for (const PairRow &row : model.rows())
        out.value(ListedRow{model, row});
    out.endArray();
    const std::optional<std::filesystem::path> root = model.oneDriveRoot();
    out.member("oneDriveRoot", root ? std::optional(Text::fromPath(*root)) : std::nullopt);
    out.endObject();
    Console::outDocument(out.take());
}

std::optional<QString> addTo(ModelSession &session, const std::filesystem::path &original,
                             const std::filesystem::path &backup) {
    AppModel &model = session.model();
    const std::optional<std::filesystem::path> root = model.oneDriveRoot();
    const std::optional<QString> place = root ? Locations::relativePath(backup, *root) : std::nullopt;
    if (std::optional<QString> refusal = place ? OneDriveNames::folderRefusal(*place) : std::nullopt)
        return refusal;
    return session.answerOf([&](const AppModel::Answer &done) { model.addPair(original, backup, done); });
}

/// The pairs that the user means: the one with this id, else all with this name.
std::vector<QUuid> pairsMeant(const AppModel &model, const std::string &nameOrId) {
    const QString text = Text::fromBytes(nameOrId);
    const QUuid id = QUuid::fromString(text);
    if (!id.isNull() && model.pairIndex(id))
        return {id};
    std::vector<QUuid> ids;
    for (const FolderPair &pair : model.config().pairs) {
        if (PairRow::nameOf(pair) == text)
            ids.push_back(pair.id);
    }
    return ids;
}

QString unknown(const std::string &nameOrId) {
    return QStringLiteral("There is no folder “") + Text::fromBytes(nameOrId) +
           QStringLiteral("” in the list (see tarnwick-basic --list).");
}

} // namespace

Chosen chosen(const AppModel &model, const std::vector<std::string> &namesOrIds) {
    if (namesOrIds.empty())
        return {};
    Chosen result{.ids = std::vector<QUuid>()};
    for (const std::string &nameOrId : namesOrIds) {
        const std::vector<QUuid> meant = pairsMeant(model, nameOrId);
        if (meant.empty())
            return {.refusal = unknown(nameOrId)};
        result.ids->insert(result.ids->end(), meant.begin(), meant.end());
    }
    return result;
}

int list(const std::vector<std::string> &arguments) {
    static constexpr std::array known = {"--list", "--json"};
    const std::optional<Arguments> given = Arguments::parse(arguments, known);
    if (!given || !given->words.empty())
        return wrongUsage("--list [--json]");
    AppModel::setReadOnly(true);
    ModelSession session;
    session.waitForDisks();
    if (given->has("--json"))
        printJson(session.model());
    else
        printLines(session.model());
    session.end(Clean);
    return Clean;
}

int add(const std::vector<std::string> &arguments) {
    static constexpr std::array known = {"--add"};
    const std::optional<Arguments> given = Arguments::parse(arguments, known);
    if (!given || given->words.size() != 2 || given->words[0].empty() || given->words[1].empty())
        return wrongUsage("--add ORIGINAL BACKUP");
    ModelSession session;
    if (const std::optional<QString> refusal = session.claimSettings())
        return refuse(*refusal);
    session.startModel();
    session.tellNotice();
    const std::optional<QString> refusal =
        addTo(session, Paths::standardised(given->words[0]), Paths::standardised(given->words[1]));
    const int status = refusal ? refuse(*refusal) : session.toldWhetherSaved();
    session.end(status);
    return status;
}

int remove(const std::vector<std::string> &arguments) {
    static constexpr std::array known = {"--remove"};
    const std::optional<Arguments> given = Arguments::parse(arguments, known);
    if (!given || given->words.size() != 1)
        return wrongUsage("--remove NAME-OR-ID");
    ModelSession session;
    if (const std::optional<QString> refusal = session.claimSettings())
        return refuse(*refusal);
    AppModel &model = session.model();
    session.startModel();
    session.tellNotice();
    const std::vector<QUuid> ids = pairsMeant(model, given->words[0]);
    int status = WrongUsage;
    if (ids.empty()) {
        Console::error(unknown(given->words[0]));
    } else if (ids.size() > 1) {
        Console::error(QString::number(ids.size()) + QStringLiteral(" folders in the list have this name. Name the one "
                                                                    "you mean by its id (see --list --json)."));
    } else {
        model.remove(ids.front());
        status = session.toldWhetherSaved();
    }
    session.end(status);
    return status;
}

} // namespace FolderCommands

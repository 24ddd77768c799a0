#include "sync/Planner.h"

#include "base/Fmt.h"
#include "base/Paths.h"
#include "base/Text.h"
#include "sync/FoldedIndex.h"
#include "sync/Lister.h"
#include "sync/OneDriveNames.h"
#include "sync/PlanText.h"

#include <cerrno>
#include <system_error>

/// One folder on the way down, with what is left to do in it.
struct Planner::Level {
    Level(Listing originals, Listing backups, std::size_t originalPathLength, std::size_t backupPathLength)
        : original(std::move(originals)), backup(std::move(backups)), seen(original.size()), backupNames(backup.size()),
          originalLength(originalPathLength), backupLength(backupPathLength) {}

    Listing original;
    Listing backup;
    FoldedIndex seen;
    FoldedIndex backupNames;
    std::size_t originalLength; // of the parent's paths, to go back to
    std::size_t backupLength;
    std::uint32_t next = 0;
    const PlanFolder *record = nullptr;
};

Planner::Planner(const SyncRules &syncRules, const CancelToken &cancelToken, std::function<void()> fileCallback)
    : rules(syncRules), token(cancelToken), onFile(std::move(fileCallback)) {
}

Planner::~Planner() = default;

PairPlan Planner::build(const FolderAnchor &original, const FolderAnchor &backup, const QString &placeInOneDrive) {
    plan = PairPlan(original.path(), backup.path());
    for (const QString &name : placeInOneDrive.split(u'/', Qt::SkipEmptyParts))
        noteIfRefused(Text::toBytes(name));
    place = placeInOneDrive;
    originalTop = &original;
    backupTop = &backup;
    if (!backup.isOpen())
        plan.folders.push_back({plan.top()});
    if (!token.isCancelled() && enter(0, 0, backup.isOpen()))
        walk();
    return std::move(plan);
}

void Planner::walk() {
    levels.front().record = plan.top();
    while (!levels.empty() && !token.isCancelled()) {
        Level &level = levels.back();
        if (level.next == level.original.size())
            leave();
        else
            decideEntry(level, level.next++); // may add a level: `level` is not to be used after this
    }
    levels.clear();
}

bool Planner::enter(std::size_t originalLength, std::size_t backupLength, bool backupExists) {
    std::optional<Listing> original = list(Side::Original);
    std::optional<Listing> backup;
    if (original)
        backup = backupExists ? list(Side::Backup) : Listing();
    if (!original || !backup) {
        originalRel.resize(originalLength);
        backupRel.resize(backupLength);
        return false;
    }
    Level &level = levels.emplace_back(std::move(*original), std::move(*backup), originalLength, backupLength);
    for (std::uint32_t i = 0; i < level.backup.size(); ++i)
        level.backupNames.add(OneDriveNames::folded(level.backup.at(i).name, scratch), i);
    return true;
}

void Planner::leave() {
    originalRel.resize(levels.back().originalLength);
    backupRel.resize(levels.back().backupLength);
    levels.pop_back();
}

void Planner::decideEntry(Level &level, std::uint32_t number) {
    const Entry entry = level.original.at(number);
    if (skip(entry))
        return;
    const std::string_view folded = OneDriveNames::folded(entry.name, scratch);
    if (level.seen.add(folded, number) != number) {
        plan.conflicts.push_back(PlanText::sameNameHere(pathOf(entry)));
        return;
    }
    const std::uint32_t first = level.backupNames.first(folded);
    const std::optional<Entry> match = bestMatch(level, entry, first);
    if (match || first == FoldedIndex::none)
        noteIfRefused(entry.name);
    if (match && entry.isDir)
        descend(entry, match->name, true);
    else if (match)
        compare(entry, *match);
    else if (first != FoldedIndex::none)
        plan.conflicts.push_back(entry.isDir ? PlanText::fileInTheWay(pathOf(entry))
                                             : PlanText::folderInTheWay(pathOf(entry)));
    else
        addNew(entry);
}

std::optional<Entry> Planner::bestMatch(const Level &level, const Entry &entry, std::uint32_t firstCandidate) {
    std::optional<Entry> match;
    for (std::uint32_t i = firstCandidate; i != FoldedIndex::none; i = level.backupNames.next(i)) {
        const Entry candidate = level.backup.at(i);
        if (candidate.isDir != entry.isDir)
            continue;
        if (OneDriveNames::isSameText(candidate.name, entry.name))
            return candidate;
        if (!match)
            match = candidate;
    }
    return match;
}

bool Planner::skip(const Entry &entry) {
    PlannedSkip skipped;
    if (!OneDriveNames::isAcceptable(entry.name)) {
        skipped.kind = SkipKind::name;
        skipped.detail = OneDriveNames::safe(entry.name);
    } else if (const auto type = entry.isDir ? std::nullopt : OneDriveNames::refusedType(entry.name)) {
        skipped.kind = SkipKind::type;
        skipped.detail = *type;
    } else {
        return false;
    }
    skipped.folder = record();
    skipped.name = plan.store(entry.name);
    plan.skipped.push_back(std::move(skipped));
    return true;
}

/// An item that is or comes to stand in the backup.
void Planner::noteIfRefused(std::string_view name) {
    constexpr std::size_t named = 3;
    if (!OneDriveNames::isRefusedByClients(name) && !isTooLong(name))
        return;
    ++plan.refusedByClients.count;
    if (plan.refusedByClients.first.size() < named)
        plan.refusedByClients.first.push_back(Text::fromBytes(joined(originalRel, name)));
}

bool Planner::isTooLong(std::string_view name) const {
    // No text has more UTF-16 units than bytes, so most paths need no second look.
    const auto bytes = static_cast<qsizetype>(backupRel.size() + name.size()) + place.size() + 2;
    if (bytes <= OneDriveNames::longestPath)
        return false;
    const qsizetype below = Text::fromBytes(joined(backupRel, name)).size();
    return place.size() + (place.isEmpty() ? 0 : 1) + below > OneDriveNames::longestPath;
}

void Planner::compare(const Entry &entry, const Entry &match) {
    onFile();
    const FileVersion inBackup{match.size, match.mtime};
    switch (decide({entry.size, entry.mtime}, inBackup, rules)) {
    case Verdict::UpToDate:
        ++plan.upToDate;
        break;
    case Verdict::KeepNewer:
        plan.keptNewer.push_back(PlanText::keptNewer(pathOf(entry)));
        break;
    case Verdict::Copy:
        addCopy(entry, match.name, plan.store(inBackup));
        break;
    }
}

void Planner::addNew(const Entry &entry) {
    if (!entry.isDir) {
        onFile();
        addCopy(entry, entry.name, nullptr);
        return;
    }
    const PlanFolder *folder = plan.addFolder(record(), entry.name, entry.name);
    plan.folders.push_back({folder});
    if (descend(entry, entry.name, false))
        levels.back().record = folder;
}

void Planner::addCopy(const Entry &entry, std::string_view targetName, const FileVersion *replaces) {
    PlannedCopy copy;
    copy.folder = record();
    copy.name = plan.store(entry.name).data();
    copy.targetName = targetName == entry.name ? copy.name : plan.store(targetName).data();
    copy.replaces = replaces;
    copy.size = entry.size;
    copy.mtime = entry.mtime;
    plan.copies.push_back(copy);
}

bool Planner::descend(const Entry &entry, std::string_view backupName, bool backupExists) {
    const std::size_t originalLength = originalRel.size();
    const std::size_t backupLength = backupRel.size();
    originalRel.append(originalLength == 0 ? "" : "/").append(entry.name);
    backupRel.append(backupLength == 0 ? "" : "/").append(backupName);
    return enter(originalLength, backupLength, backupExists);
}

std::optional<Listing> Planner::list(Side side) {
    const FolderAnchor &anchor = side == Side::Original ? *originalTop : *backupTop;
    const std::string &relative = side == Side::Original ? originalRel : backupRel;
    std::int64_t links = 0;
    std::vector<std::string> temporaries;
    std::optional<Listing> listing;
    try {
        const FileDescriptor folder = OpenBelow::folder(anchor.descriptor(), relative);
        if (side == Side::Original && isBackupFolder(folder.get())) {
            addProblem(side, QStringLiteral(": this is the backup folder itself, so it was skipped"));
            return std::nullopt;
        }
        listing = Lister::list(folder.get(), links, temporaries);
    } catch (const std::system_error &error) {
        addUnreadable(side, error.code().value());
        return std::nullopt;
    }
    if (side == Side::Original) {
        plan.skippedLinks += links;
        addUnseen(*listing);
        return listing;
    }
    for (const std::string &name : temporaries)
        plan.staleTemps.push_back({joined(backupRel, name)});
    return listing;
}

bool Planner::isBackupFolder(int descriptor) const {
    if (!backupTop->isOpen())
        return false;
    const std::optional<FileFacts> facts = lookAtOpen(descriptor);
    return facts && facts->device == backupTop->facts().device && facts->inode == backupTop->facts().inode;
}

/// A problem with the level under way.
void Planner::addProblem(Side side, const QString &what) {
    plan.problems.push_back(levelName(side) + what);
    plan.problemPaths.push_back(side == Side::Original ? originalTop->path() / originalRel
                                                       : backupTop->path() / backupRel);
}

void Planner::addUnreadable(Side side, int error) {
    const QString detail = error == ETIMEDOUT
                               ? QStringLiteral("OneDrive didn't respond (it may still be downloading this folder)")
                               : Fmt::systemError(error);
    addProblem(side, QStringLiteral(": couldn't read ") +
                         (side == Side::Backup ? QStringLiteral("the backup copy") : QStringLiteral("your folder")) +
                         QStringLiteral(" of this folder, so it was skipped. ") + detail);
}

/// What stands in the backup and can't be looked at is told when something is to be copied there.
void Planner::addUnseen(const Listing &listing) {
    for (const Listing::Unseen &item : listing.unseen) {
        const std::string path = joined(originalRel, item.name);
        plan.problems.push_back(Text::fromBytes(path) + QStringLiteral(": couldn't be read, so it was skipped. ") +
                                Fmt::systemError(item.error));
        plan.problemPaths.push_back(originalTop->path() / path);
    }
}

/// What a problem calls the level under way: its relative path, at the top the folder's own name.
QString Planner::levelName(Side side) const {
    if (!originalRel.empty())
        return Text::fromBytes(originalRel);
    return Text::fromBytes(Paths::lastComponent((side == Side::Original ? originalTop : backupTop)->path()));
}

/// The shared record of the level under way. Made when something is first planned in it, so that an unchanged
/// tree costs no memory.
const PlanFolder *Planner::record() {
    std::size_t known = levels.size() - 1;
    while (!levels[known].record)
        --known;
    const auto ownName = [](const std::string &path, std::size_t parentEnd, std::size_t end) {
        return std::string_view(path).substr(0, end).substr(parentEnd == 0 ? 0 : parentEnd + 1);
    };
    for (std::size_t i = known + 1; i < levels.size(); ++i) {
        const bool isLast = i + 1 == levels.size();
        const std::size_t originalEnd = isLast ? originalRel.size() : levels[i + 1].originalLength;
        const std::size_t backupEnd = isLast ? backupRel.size() : levels[i + 1].backupLength;
        levels[i].record =
            plan.addFolder(levels[i - 1].record, ownName(originalRel, levels[i].originalLength, originalEnd),
                           ownName(backupRel, levels[i].backupLength, backupEnd));
    }
    return levels.back().record;
}

QString Planner::pathOf(const Entry &entry) const {
    return Text::fromBytes(joined(originalRel, entry.name));
}

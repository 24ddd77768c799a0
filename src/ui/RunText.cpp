#include "ui/RunText.h"

#include "base/Fmt.h"
#include "records/SyncRun.h"
#include "sync/OneDriveNames.h"
#include "ui/SyncCardText.h"
#include "ui/Theme.h"

#include <QStringList>

#include <algorithm>

namespace RunText {

namespace {

using Kind = Item::Kind;
using Tint = Item::Tint;

constexpr std::size_t shownLines = 500;

const QString nameExplanation = QStringLiteral(
    "OneDrive can't store these names (invisible characters, a space at the end, or \" * : < > ? \\ |), so they were "
    "skipped and not copied. Rename them on your drive to back them up; the name after the arrow is what OneDrive "
    "would "
    "have made of it.");

std::int64_t problemCount(const SyncRun &run) {
    return static_cast<std::int64_t>(run.conflicts.size() + run.errors.size()) + (run.fatal ? 1 : 0);
}

QString parentOf(const QString &relPath) {
    return relPath.contains(u'/') ? relPath.section(u'/', 0, -2) : QString();
}

QString counted(const QString &title, std::size_t count) {
    return title + QStringLiteral(" (") + QString::number(count) + u')';
}

/// Builds the list of lines section by section.
class Builder {
  public:
    std::vector<Item> items;

    void header(const QString &title) { items.push_back({.kind = Kind::Header, .text = title}); }

    void line(const QString &text, const char *symbol, Tint tint) {
        items.push_back({.kind = Kind::Line, .text = text, .symbol = QLatin1String(symbol), .tint = tint});
    }

    /// Nothing at all when there are no lines; the first 500 otherwise.
    void lines(const QString &title, const std::vector<QString> &texts, const char *symbol, Tint tint) {
        if (texts.empty())
            return;
        header(title);
        for (std::size_t i = 0; i < std::min(texts.size(), shownLines); ++i)
            line(texts[i], symbol, tint);
    }

    void problems(const SyncRun &run) {
        const std::size_t first = items.size() + 1; // behind the header
        lines(counted(QStringLiteral("Problems"), run.errors.size()), run.errors, "exclamationmark.triangle",
              Tint::Warning);
        for (std::size_t i = 0; first + i < items.size() && i < run.errorPaths.size(); ++i)
            items[first + i].path = run.errorPaths[i];
    }

    void nameSkips(const std::vector<const SkippedItem *> &skips) {
        if (skips.empty())
            return;
        header(counted(QStringLiteral("Skipped: names OneDrive can't store"), skips.size()));
        items.push_back({.kind = Kind::Explanation, .text = nameExplanation});
        for (const SkippedItem *skip : skips)
            items.push_back({.kind = Kind::NameSkip,
                             .text = OneDriveNames::visible(skip->relPath.section(u'/', -1)) + QStringLiteral("  →  ") +
                                     skip->detail,
                             .detail = skip->pairName + u'/' + parentOf(skip->relPath),
                             .symbol = QStringLiteral("textformat"),
                             .tint = Tint::Warning,
                             .path = skip->path});
    }

    void typeSkips(const std::vector<const SkippedItem *> &skips) {
        if (skips.empty())
            return;
        header(counted(QStringLiteral("Skipped: file types OneDrive refuses"), skips.size()));
        for (const SkippedItem *skip : skips) {
            line(skip->pairName + u'/' + skip->relPath, "nosign", Tint::Warning);
            items.back().path = skip->path;
        }
    }

    void changes(const SyncRun &run) {
        header(QStringLiteral("Copied"));
        if (run.changes.empty())
            items.push_back({.kind = Kind::Plain, .text = QStringLiteral("No files needed copying.")});
        for (const ChangeRecord &change : run.changes)
            items.push_back({.kind = Kind::Change,
                             .text = change.relPath.section(u'/', -1),
                             .detail = change.pairName + u'/' + parentOf(change.relPath),
                             .symbol = QStringLiteral("arrow.up.right.circle.fill"),
                             .change = &change,
                             .path = change.path});
        if (run.changesOmitted >= 1)
            items.push_back({.kind = Kind::Plain,
                             .text = QStringLiteral("…and ") + Fmt::grouped(run.changesOmitted) +
                                     QStringLiteral(" more (see the log file for everything)")});
    }
};

std::vector<const SkippedItem *> skipsOf(const SyncRun &run, SkipKind kind) {
    std::vector<const SkippedItem *> skips;
    for (const SkippedItem &item : run.skipped) {
        if (item.kind == kind)
            skips.push_back(&item);
    }
    return skips;
}

} // namespace

QString listIcon(const SyncRun &run) {
    if (SyncCardText::isClean(run))
        return QStringLiteral("checkmark.circle.fill");
    return run.cancelled ? QStringLiteral("stop.circle.fill") : QStringLiteral("exclamationmark.triangle.fill");
}

QString headerIcon(const SyncRun &run) {
    return SyncCardText::isClean(run) ? QStringLiteral("checkmark.circle.fill")
                                      : QStringLiteral("exclamationmark.triangle.fill");
}

QColor iconColour(const SyncRun &run, const QPalette &palette) {
    return SyncCardText::isClean(run) ? Theme::good(palette) : Theme::warning(palette);
}

QString meta(const SyncRun &run) {
    QStringList parts = {Fmt::when(run.started), label(run.trigger),
                         QStringLiteral("took ") +
                             Fmt::duration(static_cast<double>(run.started.msecsTo(run.finished)) / 1000)};
    if (!run.pairNames.empty())
        parts.append(QStringList(run.pairNames.begin(), run.pairNames.end()).join(QStringLiteral(", ")));
    return parts.join(QStringLiteral(" · "));
}

std::vector<Tile> tiles(const SyncRun &run) {
    return {{QStringLiteral("Copied"), QString::number(run.filesCopied)},
            {QStringLiteral("Data"), Fmt::byteCount(run.bytesCopied)},
            {QStringLiteral("Up to date"), Fmt::grouped(run.upToDate)},
            {QStringLiteral("Left alone"), QString::number(run.keptNewer.size())},
            {QStringLiteral("Skipped"), QString::number(run.skipped.size()), !run.skipped.empty()},
            {QStringLiteral("Problems"), QString::number(problemCount(run)), problemCount(run) >= 1}};
}

std::vector<Item> items(const SyncRun &run) {
    Builder builder;
    if (run.fatal) {
        builder.header(QStringLiteral("Stopped"));
        builder.line(*run.fatal, "xmark.octagon.fill", Tint::Danger);
    }
    builder.problems(run);
    builder.lines(QStringLiteral("Notes"), run.notes, "info.circle", Tint::Secondary);
    builder.lines(counted(QStringLiteral("Needs your attention"), run.conflicts.size()), run.conflicts,
                  "questionmark.diamond", Tint::Warning);
    builder.nameSkips(skipsOf(run, SkipKind::name));
    builder.typeSkips(skipsOf(run, SkipKind::type));
    builder.changes(run);
    builder.lines(counted(QStringLiteral("Left alone — the copy in OneDrive is newer"), run.keptNewer.size()),
                  run.keptNewer, "hand.raised", Tint::Secondary);
    return std::move(builder.items);
}

QString spoken(const Item &item) {
    if (item.kind == Kind::Change)
        return item.text + QStringLiteral(", ") +
               (item.change->kind == ChangeKind::added ? QStringLiteral("new") : QStringLiteral("updated")) +
               QStringLiteral(", ") + item.detail + QStringLiteral(", ") + Fmt::byteCount(item.change->size);
    return item.detail.isEmpty() ? item.text : item.text + QStringLiteral(", ") + item.detail;
}

} // namespace RunText

#pragma once

#include <QColor>
#include <QPalette>
#include <QString>

#include <vector>

struct ChangeRecord;
struct SkippedItem;
struct SyncRun;

/// Texts of the Activity tab, apart from the widgets so that they can be tested as values.
namespace RunText {

/// The icon of a run in the list, and in the details: the two differ for a cancelled run.
QString listIcon(const SyncRun &run);
QString headerIcon(const SyncRun &run);
QColor iconColour(const SyncRun &run, const QPalette &palette);
/// When it began, what started it, how long it took and what it was about.
QString meta(const SyncRun &run);

struct Tile {
    QString title;
    QString value;
    bool warn = false;
};
/// The six figures.
std::vector<Tile> tiles(const SyncRun &run);

/// One line of the details.
struct Item {
    enum class Kind { Header, Line, Explanation, Plain, Change, NameSkip };

    Kind kind = Kind::Line;
    QString text = {};   ///< The line; the name of a changed or skipped file.
    QString detail = {}; ///< Where that file lies.
    QString symbol = {};
    enum class Tint { Secondary, Warning, Danger } tint = Tint::Secondary;
    const ChangeRecord *change = nullptr; ///< Of a Change; the run owns it.
    QString path = {};                    ///< Of the file that the line is about, where it is known.
};
/// All sections of the details, one after another. Refers to `run`, which must outlive it.
std::vector<Item> items(const SyncRun &run);

/// The whole line for a screen reader or the clipboard.
QString spoken(const Item &item);

} // namespace RunText

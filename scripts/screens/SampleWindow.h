#pragma once

#include "model/AppModel.h"
#include "support/TestTree.h"

#include <QAbstractButton>
#include <QWidget>

#include <functional>

/// A test root with two drives, a home folder and a OneDrive folder, and what can be seen of it in a window.
class SampleWorld {
  public:
    SampleWorld();
    ~SampleWorld();

    const fs::path &top() const { return tree.top(); }
    fs::path drive(const std::string &relative) const { return top() / "Volumes" / relative; }
    fs::path home(const std::string &relative) const { return top() / "Home" / relative; }
    fs::path oneDrive(const std::string &relative = "") const;
    /// Adds a folder; why it was refused. The model knows it then.
    std::optional<QString> add(AppModel &model, const fs::path &original, const fs::path &backup) const;
    /// Adds the folder of the drive "Backup" and the one in the home folder to the list.
    void addTwo(AppModel &model) const;
    /// Lets the model look again.
    void look(AppModel &model) const;

    TestTree tree;
};

/// One run of every kind: with problems and skipped items, clean, cancelled, stopped; newest first.
std::vector<SyncRun> sampleHistory();

/// Turns the event loop until the condition holds; false when it doesn't within ten seconds.
bool waitFor(const std::function<bool()> &condition);

/// The visible button with this text or accessible name; null when there is none.
QAbstractButton *button(QWidget &view, const QString &text);

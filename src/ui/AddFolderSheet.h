#pragma once

#include "ui/AddFolderDraft.h"

#include <QDialog>

class ElidedLabel;
class GlyphView;
class QLabel;
class QLineEdit;
class QPushButton;

/// The sheet in which a new folder pair is made. Begins empty; closes itself after a successful add.
class AddFolderSheet : public QDialog {
    Q_OBJECT
  public:
    explicit AddFolderSheet(AppModel &appModel, QWidget *parent = nullptr);

    /// Shows the draft as it is now.
    void render();

  private:
    QWidget *makeSourceRow();
    QWidget *makeOneDriveTile();
    QWidget *makeNewFolderRow();
    QWidget *makeExistingRow();
    QWidget *makeErrorRow();
    QWidget *makeButtonRow();
    void chooseSource();
    void chooseExisting();
    void add();
    void findOutWhetherTargetExists();

    AppModel &model;
    AddFolderDraft draft;
    std::optional<std::filesystem::path> lookedFor; // whether a folder stands there has been asked
    bool isAdding = false;
    ElidedLabel *source;
    QPushButton *sourceButton;
    QLabel *oneDriveName;
    QWidget *newFolderRow;
    QLineEdit *nameField;
    QPushButton *existingButton;
    QWidget *existingRow;
    ElidedLabel *existingPath;
    QLabel *summary;
    QWidget *errorRow;
    QLabel *errorText;
    QPushButton *addButton;
};

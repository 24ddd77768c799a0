#include "app/MainWindow.h"

#include "app/EditMenu.h"
#include "base/Text.h"
#include "model/AppModel.h"
#include "store/Store.h"
#include "ui/MainView.h"
#include "ui/SettingsText.h"

#include <QCloseEvent>
#include <QCoreApplication>
#include <QKeySequence>
#include <QMenuBar>
#include <QMessageBox>
#include <QScreen>
#include <QSettings>

namespace {

const auto frameName = QStringLiteral("TarnwickBasicMainWindow");

QSettings frames() {
    return QSettings(Text::fromPath(Store::supportDir() / "windows.ini"), QSettings::IniFormat);
}

QKeySequence with(Qt::Key key) {
    return QKeySequence(Qt::CTRL | key);
}

} // namespace

MainWindow::MainWindow(AppModel &model, Commands menuCommands)
    : commands(std::move(menuCommands)), view(new MainView(model)) {
    setWindowTitle(QStringLiteral("Tarnwick Basic"));
    setCentralWidget(view);
    makeMenuBar();
    restoreFrame();
    view->setFocus(); // no control is marked before the user reaches for the keyboard
}

void MainWindow::makeMenuBar() {
    QMenu *application = menuBar()->addMenu(QStringLiteral("Tarnwick Basic"));
    application->addAction(QStringLiteral("About Tarnwick Basic"), this, &MainWindow::about);
    application->addSeparator();
    application->addAction(QStringLiteral("Settings…"), with(Qt::Key_Comma), this, [this] { commands.showSettings(); });
    application->addSeparator();
    application->addAction(QStringLiteral("Hide Tarnwick Basic"), with(Qt::Key_H), this, &QWidget::close);
    application->addSeparator();
    application->addAction(QStringLiteral("Quit Tarnwick Basic"), with(Qt::Key_Q), this, [this] { commands.quit(); });

    QMenu *file = menuBar()->addMenu(QStringLiteral("File"));
    file->addAction(QStringLiteral("Add Folder…"), with(Qt::Key_N), this, [this] { commands.addFolder(); });
    file->addSeparator();
    file->addAction(view->syncNowAction());
    file->addSeparator();
    file->addAction(QStringLiteral("Close Window"), with(Qt::Key_W), this, &QWidget::close);

    menuBar()->addMenu(new EditMenu(this));

    QMenu *window = menuBar()->addMenu(QStringLiteral("Window"));
    window->addAction(QStringLiteral("Minimize"), with(Qt::Key_M), this, &QWidget::showMinimized);
    window->addAction(QStringLiteral("Activity"), with(Qt::Key_2), this, [this] { commands.showActivity(); });
}

void MainWindow::about() {
    const QString build = QCoreApplication::instance()->property("buildNumber").toString();
    auto *box = new QMessageBox(this);
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->setWindowTitle(QStringLiteral("About Tarnwick Basic"));
    box->setIconPixmap(windowIcon().pixmap(64));
    box->setText(QStringLiteral("<b>Tarnwick Basic</b>"));
    box->setInformativeText(QStringLiteral("Free backup of your folders to OneDrive\n") +
                            SettingsText::version(QCoreApplication::applicationVersion(), build));
    box->open();
}

void MainWindow::restoreFrame() {
    if (restoreGeometry(frames().value(frameName).toByteArray()))
        return;
    resize(980, 720 + menuBar()->sizeHint().height());
    QRect frame = rect();
    frame.moveCenter(screen()->availableGeometry().center());
    move(frame.topLeft());
}

void MainWindow::saveFrame() const {
    frames().setValue(frameName, saveGeometry());
}

void MainWindow::closeEvent(QCloseEvent *event) {
    saveFrame();
    event->accept(); // which hides it; a sync goes on
}

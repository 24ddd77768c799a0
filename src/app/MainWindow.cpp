#include "app/MainWindow.h"

#include "app/EditMenu.h"
#include "base/Text.h"
#include "model/AppModel.h"
#include "store/Store.h"
#include "ui/MainView.h"
#include "ui/SettingsText.h"
#include "ui/WorkArea.h"

#include <QCloseEvent>
#include <QGuiApplication>
#include <QKeySequence>
#include <QMenuBar>
#include <QMessageBox>
#include <QPushButton>
#include <QScreen>
#include <QSettings>
#include <QShortcut>
#include <QWindow>

namespace {

constexpr QSize smallestContent(880, 620);
const auto frameName = QStringLiteral("TarnwickBasicMainWindow");
const auto toldName = QStringLiteral("toldThatItKeepsRunning");

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
    for (const QScreen *each : QGuiApplication::screens())
        connect(each, &QScreen::availableGeometryChanged, this, &MainWindow::fitScreen);
    view->setFocus(); // no control is marked before the user reaches for the keyboard
}

void MainWindow::makeMenuBar() {
    QMenu *application = menuBar()->addMenu(QStringLiteral("&Tarnwick Basic"));
    application->addAction(QStringLiteral("&About Tarnwick Basic"), this, &MainWindow::about);
    application->addSeparator();
    application->addAction(QStringLiteral("&Settings…"), with(Qt::Key_Comma), this,
                           [this] { commands.showSettings(); });
    application->addSeparator();
    application->addAction(QStringLiteral("&Hide Tarnwick Basic"), with(Qt::Key_H), this, &MainWindow::hideWindow);
    application->addSeparator();
    application->addAction(QStringLiteral("&Quit Tarnwick Basic"), with(Qt::Key_Q), this, [this] { commands.quit(); });

    QMenu *file = menuBar()->addMenu(QStringLiteral("&File"));
    file->addAction(QStringLiteral("&Add Folder…"), with(Qt::Key_N), this, [this] { commands.addFolder(); });
    file->addSeparator();
    file->addAction(view->syncNowAction());
    file->addSeparator();
    file->addAction(QStringLiteral("&Close Window"), with(Qt::Key_W), this, &QWidget::close);

    menuBar()->addMenu(new EditMenu(this));
    new QShortcut(Qt::Key_F10, this, this, &MainWindow::openFirstMenu); // Qt knows only Alt

    QMenu *window = menuBar()->addMenu(QStringLiteral("&Window"));
    window->addAction(QStringLiteral("&Minimize"), with(Qt::Key_M), this, &QWidget::showMinimized);
    window->addAction(QStringLiteral("&Activity"), with(Qt::Key_2), this, [this] { commands.showActivity(); });
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

void MainWindow::openFirstMenu() {
    menuBar()->setActiveAction(menuBar()->actions().constFirst());
}

void MainWindow::hideWindow() {
    // Without a status item nothing on the screen would bring it back.
    if (commands.hasStatusItem())
        close();
    else
        showMinimized();
}

void MainWindow::tellThatItKeepsRunning() {
    if (notice)
        return;
    notice = new QMessageBox(this);
    notice->setAttribute(Qt::WA_DeleteOnClose);
    notice->setWindowTitle(QStringLiteral("Tarnwick Basic"));
    notice->setIconPixmap(windowIcon().pixmap(64));
    notice->setText(QStringLiteral("Tarnwick Basic keeps running"));
    notice->setInformativeText(QStringLiteral("It keeps running without its window, so that it can sync by itself. To "
                                              "bring the window back, start Tarnwick Basic again."));
    QPushButton *closing = notice->addButton(QStringLiteral("Close Window"), QMessageBox::AcceptRole);
    const QPushButton *quitting = notice->addButton(QStringLiteral("Quit"), QMessageBox::DestructiveRole);
    notice->setDefaultButton(closing);
    notice->setEscapeButton(closing);
    connect(notice, &QMessageBox::buttonClicked, this, [this, quitting](const QAbstractButton *pressed) {
        frames().setValue(toldName, true);
        if (pressed == quitting)
            commands.quit();
        else
            close();
    });
    notice->open();
}

void MainWindow::restoreFrame() {
    if (!restoreGeometry(frames().value(frameName).toByteArray())) {
        QRect frame(0, 0, 980, 720 + menuBar()->sizeHint().height());
        frame.moveCenter(screen()->availableGeometry().center());
        setGeometry(frame);
    }
    fitScreen();
}

void MainWindow::fitScreen() {
    const QSize smallest = smallestContent + QSize(0, menuBar()->sizeHint().height());
    setMinimumSize(smallest.boundedTo(WorkArea::roomFor(*this)));
    if (!isMaximized() && !isFullScreen())
        setGeometry(WorkArea::fit(geometry(), WorkArea::areaFor(*this), WorkArea::frameOf(*this)));
}

void MainWindow::showEvent(QShowEvent *event) {
    QMainWindow::showEvent(event);
    windowHandle()->installEventFilter(this);
}

bool MainWindow::eventFilter(QObject *object, QEvent *event) {
    // From the first moment on the screen it is known what the window manager has put around the window.
    if (event->type() == QEvent::Expose && object == windowHandle() && windowHandle()->isExposed()) {
        windowHandle()->removeEventFilter(this);
        fitScreen();
    }
    return QMainWindow::eventFilter(object, event);
}

void MainWindow::saveFrame() const {
    frames().setValue(frameName, saveGeometry());
}

void MainWindow::closeEvent(QCloseEvent *event) {
    saveFrame();
    const bool isNews = !commands.hasStatusItem() && !frames().value(toldName).toBool();
    event->setAccepted(!isNews); // which hides it; a sync goes on
    if (isNews)
        tellThatItKeepsRunning();
}

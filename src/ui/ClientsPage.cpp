#include "ui/ClientsPage.h"

#include "ui/Buttons.h"
#include "ui/Theme.h"

#include <QFile>
#include <QHBoxLayout>
#include <QRegularExpression>
#include <QTextBrowser>

/// The macro wants to be used outside every namespace.
static void loadPages() {
    Q_INIT_RESOURCE(pages);
}

namespace {

/// Without its links: they lead to pages that are not built in.
QString pageText() {
    loadPages();
    QFile page(QStringLiteral(":/pages/onedrive-clients.md"));
    if (!page.open(QIODevice::ReadOnly))
        return {};
    static const QRegularExpression link(QStringLiteral("\\[([^\\]]*)\\]\\([^)]*\\)"));
    return QString::fromUtf8(page.readAll()).replace(link, QStringLiteral("\\1"));
}

} // namespace

ClientsPage::ClientsPage(QWidget *parent) : QDialog(parent) {
    setWindowTitle(QStringLiteral("OneDrive clients"));
    auto *text = new QTextBrowser;
    text->setFont(Theme::font(Theme::Type::Body));
    text->setFrameShape(QFrame::NoFrame);
    text->setMarkdown(pageText());
    text->setAccessibleName(windowTitle());
    QPushButton *close = Buttons::make(QStringLiteral("Close"));
    connect(close, &QPushButton::clicked, this, &QDialog::reject);
    auto *buttons = new QHBoxLayout;
    buttons->addStretch(1);
    buttons->addWidget(close);
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(16, 16, 16, 16);
    layout->addWidget(text, 1);
    layout->addLayout(buttons);
    resize(780, 620);
}

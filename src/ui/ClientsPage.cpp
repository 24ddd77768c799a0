#include "ui/ClientsPage.h"

#include "ui/Buttons.h"
#include "ui/Theme.h"
#include "ui/WorkArea.h"

#include <QFile>
#include <QHBoxLayout>
#include <QRegularExpression>
#include <QTextBlock>
#include <QTextBrowser>
#include <QTextTable>

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

/// Markdown comes in without any air.
void layOut(QTextDocument &page, const QPalette &palette) {
    page.setDocumentMargin(18);
    for (QTextBlock block = page.begin(); block.isValid(); block = block.next()) {
        QTextBlockFormat format = block.blockFormat();
        const bool isHeading = format.headingLevel() > 0;
        format.setNonBreakableLines(false); // rather a broken command than a page that has to be scrolled sideways
        format.setTopMargin(isHeading ? 18 : 0);
        format.setBottomMargin(QTextCursor(block).currentTable() ? 0 : 7);
        format.setLineHeight(118, QTextBlockFormat::ProportionalHeight);
        QTextCursor(block).setBlockFormat(format);
    }
    for (QTextFrame *frame : page.rootFrame()->childFrames()) {
        auto *table = qobject_cast<QTextTable *>(frame);
        if (!table)
            continue;
        QTextTableFormat format = table->format();
        format.setBorderCollapse(true);
        format.setBorderBrush(Theme::primary(palette, 0.2));
        format.setCellPadding(6);
        format.setCellSpacing(0);
        format.setBottomMargin(8);
        table->setFormat(format);
    }
}

} // namespace

ClientsPage::ClientsPage(QWidget *parent) : QDialog(parent) {
    setWindowTitle(QStringLiteral("OneDrive clients"));
    auto *text = new QTextBrowser;
    text->setFont(Theme::font(Theme::Type::Body));
    text->setWordWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    text->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    text->setFrameShape(QFrame::NoFrame);
    text->setMarkdown(pageText());
    layOut(*text->document(), palette());
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
    resize(QSize(860, 640).boundedTo(WorkArea::roomFor(*this)));
}

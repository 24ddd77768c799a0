#include "ui/TabSwitch.h"

#include "ui/Theme.h"

#include <QButtonGroup>
#include <QHBoxLayout>
#include <QPainter>
#include <QRadioButton>

namespace {

/// A radio button, which is what it is to a screen reader, drawn as a segment.
class Segment : public QRadioButton {
  public:
    using QRadioButton::QRadioButton;

  protected:
    void paintEvent(QPaintEvent *) override {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        const bool hasRing = hasFocus();
        const double inset = hasRing ? 1 : 0.5;
        if (hasRing)
            painter.setPen(QPen(Theme::accent(palette()), 2));
        else
            painter.setPen(isChecked() ? QPen(Theme::primary(palette(), 0.16)) : QPen(Qt::NoPen));
        if (isChecked())
            painter.setBrush(palette().button());
        else if (underMouse())
            painter.setBrush(Theme::primary(palette(), 0.07));
        painter.drawRoundedRect(QRectF(rect()).adjusted(inset, inset, -inset, -inset), 7, 7);
        painter.setFont(Theme::font(Theme::Type::Body, isChecked() ? QFont::DemiBold : QFont::Normal));
        painter.setPen(Theme::primary(palette(), 1));
        painter.drawText(rect(), Qt::AlignCenter, text());
    }
    bool hitButton(const QPoint &) const override { return true; }
    QSize minimumSizeHint() const override { return {0, 0}; }
};

} // namespace

TabSwitch::TabSwitch(std::function<void(MainTab)> onChoice, QWidget *parent) : QFrame(parent) {
    setProperty("look", QStringLiteral("segments"));
    setFixedSize(Theme::scaled(330), Theme::scaled(34));
    auto *layout = new QHBoxLayout(this);
    layout->setContentsMargins(3, 3, 3, 3);
    layout->setSpacing(2);
    auto *group = new QButtonGroup(this);
    for (const MainTab tab : mainTabs) {
        auto *segment = new Segment(title(tab));
        segment->setAttribute(Qt::WA_Hover);
        segment->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding); // as high as the others, chosen or not
        group->addButton(segment);
        layout->addWidget(segment, 1);
        // Toggled, not clicked: a screen reader toggles.
        connect(segment, &QRadioButton::toggled, this, [onChoice, tab](bool on) {
            if (on)
                onChoice(tab);
        });
        segments.push_back(segment);
    }
}

void TabSwitch::render(MainTab tab) {
    segments.at(static_cast<std::size_t>(tab))->setChecked(true);
    // Tab leads to the chosen segment alone, the arrow keys to the others.
    for (QAbstractButton *segment : segments)
        segment->setFocusPolicy(segment->isChecked() ? Qt::StrongFocus : Qt::ClickFocus);
}

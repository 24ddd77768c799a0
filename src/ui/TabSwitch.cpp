#include "ui/TabSwitch.h"

#include "ui/Theme.h"

#include <QButtonGroup>
#include <QHBoxLayout>
#include <QPushButton>

TabSwitch::TabSwitch(std::function<void(MainTab)> onChoice, QWidget *parent) : QFrame(parent) {
    setProperty("look", QStringLiteral("segments"));
    setFixedSize(330, 34);
    auto *layout = new QHBoxLayout(this);
    layout->setContentsMargins(3, 3, 3, 3);
    layout->setSpacing(2);
    auto *group = new QButtonGroup(this);
    for (const MainTab tab : mainTabs) {
        auto *segment = new QPushButton(title(tab));
        segment->setProperty("look", QStringLiteral("segment"));
        segment->setFont(Theme::font(Theme::Type::Body));
        segment->setCheckable(true);
        segment->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding); // as high as the others, chosen or not
        segment->setAutoDefault(false);
        group->addButton(segment);
        layout->addWidget(segment, 1);
        // Toggled, not clicked: a screen reader toggles.
        connect(segment, &QPushButton::toggled, this, [onChoice, tab](bool on) {
            if (on)
                onChoice(tab);
        });
        segments.push_back(segment);
    }
}

void TabSwitch::render(MainTab tab) {
    segments.at(static_cast<std::size_t>(tab))->setChecked(true);
    // Tab leads to the chosen segment alone, the arrow keys to the others.
    for (QPushButton *segment : segments)
        segment->setFocusPolicy(segment->isChecked() ? Qt::StrongFocus : Qt::ClickFocus);
}

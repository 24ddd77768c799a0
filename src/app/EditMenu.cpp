#include "app/EditMenu.h"

#include <QApplication>
#include <QKeyEvent>
#include <QKeySequence>

EditMenu::EditMenu(QWidget *parent) : QMenu(QStringLiteral("&Edit"), parent) {
    add(QStringLiteral("&Undo"), Qt::ControlModifier, Qt::Key_Z);
    add(QStringLiteral("&Redo"), Qt::ControlModifier | Qt::ShiftModifier, Qt::Key_Z);
    addSeparator();
    add(QStringLiteral("Cu&t"), Qt::ControlModifier, Qt::Key_X);
    add(QStringLiteral("&Copy"), Qt::ControlModifier, Qt::Key_C);
    add(QStringLiteral("&Paste"), Qt::ControlModifier, Qt::Key_V);
    add(QStringLiteral("Select &All"), Qt::ControlModifier, Qt::Key_A);
}

void EditMenu::add(const QString &title, Qt::KeyboardModifiers modifiers, Qt::Key key) {
    // Text fields know these keys better than a menu does, and lists have an idea of their own of what to copy.
    addAction(title, QKeySequence(modifiers | key), this, [modifiers, key] {
        if (QWidget *target = QApplication::focusWidget()) {
            QKeyEvent press(QEvent::KeyPress, key, modifiers);
            QApplication::sendEvent(target, &press);
        }
    });
}

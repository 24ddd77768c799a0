#pragma once

#include <QPushButton>
#include <QToolButton>

/// Buttons in the looks of the theme. A text of "" makes no button: every button has a name.
namespace Buttons {

enum class Look { Normal, Prominent, LargeProminent };

/// `symbol` may be empty.
QPushButton *make(const QString &text, const QString &symbol = {}, Look look = Look::Normal);
/// A button that shows only a symbol; `name` is for screen readers, `tooltip` for everybody.
QToolButton *symbolOnly(const QString &symbol, const QString &name, const QString &tooltip);

} // namespace Buttons

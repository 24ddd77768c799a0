#pragma once

#include <QMargins>
#include <QRect>
#include <QSize>

class QWidget;

/// The part of a screen that panels leave free, and windows that fit in it.
namespace WorkArea {

/// `window`, which is meant without its `frame`, moved and made smaller as little as lets both lie within `area`.
QRect fit(QRect window, const QRect &area, const QMargins &frame);

/// What the window manager puts around a window; before it has told, as much as the thick ones of them put there.
QMargins frameOf(const QWidget &window);

/// What panels leave free of the screen that the window is on.
QRect areaFor(const QWidget &window);

/// How large a window, without its frame, can be on its screen.
QSize roomFor(const QWidget &window);

} // namespace WorkArea

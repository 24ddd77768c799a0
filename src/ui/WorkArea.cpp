#include "ui/WorkArea.h"

#include <QScreen>
#include <QWidget>
#include <QWindow>

#include <algorithm>

namespace {

constexpr QMargins thickFrame(6, 38, 6, 6);

} // namespace

QRect WorkArea::fit(QRect window, const QRect &area, const QMargins &frame) {
    const QRect inner = area.marginsRemoved(frame);
    window.setSize(window.size().boundedTo(inner.size()));
    window.moveLeft(std::clamp(window.left(), inner.left(), inner.right() + 1 - window.width()));
    window.moveTop(std::clamp(window.top(), inner.top(), inner.bottom() + 1 - window.height()));
    return window;
}

QMargins WorkArea::frameOf(const QWidget &window) {
    const QWindow *handle = window.windowHandle();
    const QMargins told = handle ? handle->frameMargins() : QMargins();
    return told.isNull() && !(handle && handle->isExposed()) ? thickFrame : told;
}

QRect WorkArea::areaFor(const QWidget &window) {
    const QRect area = window.screen()->availableGeometry();
    // On a scaled screen a panel may end between two of its points, and Qt gives the one that it still covers.
    const int margin = window.screen()->devicePixelRatio() == 1 ? 0 : 1;
    return area.adjusted(margin, margin, -margin, -margin);
}

QSize WorkArea::roomFor(const QWidget &window) {
    return areaFor(window).marginsRemoved(frameOf(window)).size();
}

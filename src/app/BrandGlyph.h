#pragma once

#include <QColor>
#include <QIcon>
#include <QImage>

#include <optional>

/// The drawing in the status area: a drive standing upright, and an arrow that leaves it.
namespace BrandGlyph {

/// 18 by 18 points at `scale` pixels a point, black on transparent, for tinting. The badge is a dot at the right.
QImage menuBarImage(bool badge, double scale = 1);

/// The drawing as an icon in the sizes that panels use. What stands behind a panel's icons is unknown here, so the
/// `ink` gets a thin rim in the opposite tone. With `done` (0 to 1) the drive is pale and fills up from below.
QIcon icon(const QColor &ink, bool badge, std::optional<double> done = std::nullopt);

} // namespace BrandGlyph

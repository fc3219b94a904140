#pragma once

#include <QString>

namespace vellumix {

/// A fresh overlay reference: an upper-case UUID with hyphens. It names the overlay's image
/// file inside a bundle.
QString newOverlayRef();
/// Only plain file-name stems are accepted as overlay references (nothing that leaves the
/// overlays folder).
bool isValidOverlayRef(const QString& ref);

} // namespace vellumix

#pragma once

#include "AnnotationStyle.h"

#include <QDateTime>

namespace vellumix {

/// One saved style preset: a plain record, stored by the style library and offered by the
/// canvas's context menu.
struct PresetEntry {
    /// An upper-case UUID made when the preset is saved.
    QString id;
    QDateTime savedAt;
    AnnotationStyle style;
};

} // namespace vellumix

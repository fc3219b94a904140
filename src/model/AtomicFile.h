#pragma once

#include "Result.h"

#include <QByteArray>
#include <QString>

#include <variant>

namespace vellumix {

using Status = Result<std::monostate>;
inline Status success() {
    return std::monostate{};
}

/// Writes a whole file through a temporary that is renamed into place, so a crash never leaves
/// it half written. The error names the path and the reason.
///
/// Every bundle, settings and style file goes through here on purpose, although a plain
/// overwrite would be simpler: a half-written annotations.json reads as no annotations at all,
/// so an interrupted save would silently lose the user's whole document.
Status writeFileAtomically(const QString& path, const QByteArray& data);

} // namespace vellumix

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
Status writeFileAtomically(const QString& path, const QByteArray& data);

} // namespace vellumix

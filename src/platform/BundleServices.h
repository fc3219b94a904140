#pragma once

#include "model/ProjectBundle.h"

namespace vellumix {

/// Bundle writing with the fast PNG encoder and GIO folder icons.
BundleServices platformBundleServices();

} // namespace vellumix

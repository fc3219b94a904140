#pragma once

#include "bundle/ProjectBundle.h"

namespace vellumix {

/// Bundle writing with the fast PNG encoder and GIO folder icons.
BundleServices platformBundleServices();

} // namespace vellumix

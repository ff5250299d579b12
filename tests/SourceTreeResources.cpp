// The library finds its simulation file relative to its installed copy; the
// tests run from the build tree, so they point it at the source tree's
// resources/ folder before main, unless the caller chose a folder already.
#include <cstdlib>

#include "QVConsumer/QVCBundle.h"

namespace {
[[maybe_unused]] const int sourceTreeResources = ::setenv(QVCBundle::resourceDirVariable, QVC_SOURCE_RESOURCE_DIR, 0);
}  // namespace

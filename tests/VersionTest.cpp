#include <gtest/gtest.h>

#include <string>

#include "QVConsumer/QVCPConstant.h"
#include "platform/QVCVersion.h"

// The integer version works in the preprocessor, as a host's feature test would use it.
#if QVC_VERSION_NUMBER < 10000
#error "QVC_VERSION_NUMBER is not MAJOR * 10000 + MINOR * 100 + PATCH"
#endif
static_assert(QVC_VERSION_NUMBER == QVC_VERSION_MAJOR * 10000 + QVC_VERSION_MINOR * 100 + QVC_VERSION_PATCH);
static_assert(QVC_VERSION_MINOR < 100 && QVC_VERSION_PATCH < 100, "the parts must not overlap in the number");

namespace {

TEST(Version, ExportedNumberAndTextAreMajorDotMinor) {
    const std::string majorMinor = std::to_string(QVC_VERSION_MAJOR) + "." + std::to_string(QVC_VERSION_MINOR);
    EXPECT_EQ(std::string(QVConsumerVersionString), "QVConsumer " + majorMinor);
    EXPECT_DOUBLE_EQ(QVConsumerVersionNumber, std::stod(majorMinor));
    EXPECT_EQ(QVC_VERSION_TEXT, majorMinor);
}

}  // namespace

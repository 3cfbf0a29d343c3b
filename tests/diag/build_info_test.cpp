#include "diag/build_info.h"

#include <gtest/gtest.h>

namespace loftbay::diag {
namespace {

TEST(BuildInfo, NamesTheProductAndItsVersion) {
  EXPECT_STREQ(CBuildInfo().GetAppName("loftbay"), "Loftbay");
  EXPECT_STREQ(CBuildInfo().GetVersion(), "2.2");
  EXPECT_STREQ(kBuildNumber, "2.2.125.331");
}

}  // namespace
}  // namespace loftbay::diag

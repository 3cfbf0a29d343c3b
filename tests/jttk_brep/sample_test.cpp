// Real files that hold exact geometry and facets of the same parts: both must agree.
#include <gtest/gtest.h>
#include <cstdlib>

TEST(XtSamples, Placeholder) { GTEST_SKIP(); }

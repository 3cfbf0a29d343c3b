// The list of committed samples: what make_samples writes and tests compare with.
#pragma once

#include <string>
#include <vector>

#include "samples/maker/write_jt.h"

namespace loftbay::maker {

struct SampleFile {
  std::string name;  // in samples/
  Product product;
  Options options;
};

std::vector<SampleFile> sampleFiles();

}  // namespace loftbay::maker

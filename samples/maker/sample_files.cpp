#include "samples/maker/sample_files.h"

#include "samples/maker/beam_engine.h"

namespace loftbay::maker {

std::vector<SampleFile> sampleFiles() {
  Options exact;  // JT 9.5, lossless coordinates
  exact.normal_bits = 12;
  return {{"beam_engine.jt", beamEngine(), exact}};
}

}  // namespace loftbay::maker

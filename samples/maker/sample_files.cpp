#include "samples/maker/sample_files.h"

#include "samples/maker/beam_engine.h"
#include "samples/maker/flange_joint.h"
#include "samples/maker/survey.h"

namespace loftbay::maker {

std::vector<SampleFile> sampleFiles() {
  Options exact;  // JT 9.5, lossless coordinates
  exact.normal_bits = 12;
  Options old;
  old.version = JtVersion::V8_1;
  old.coordinate_bits = 20;
  old.normal_bits = 10;
  Options packed;
  packed.version = JtVersion::V10_0;
  packed.coordinate_bits = 20;
  packed.normal_bits = 10;
  return {{"beam_engine.jt", beamEngine(), exact},
          {"beam_engine_8.1.jt", beamEngine(), old},
          {"beam_engine_10.0.jt", beamEngine(), packed},
          {"survey.jt", survey(), {}},
          {"flange_joint.jt", flangeJoint(), {}}};
}

}  // namespace loftbay::maker

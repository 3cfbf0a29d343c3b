// Writes the project's sample files into the folder that is given (default: the current one):
//   beam_engine.jt       a beam steam engine; JT 9.5, lossless, nested assemblies, two levels of detail
//   beam_engine_8.1.jt   the same with quantised triangle strips
//   beam_engine_10.0.jt  the same quantised, with xz compression
//   survey.jt            a hill as coloured triangles, contour lines and points; JT 9.5
//   flange_joint.jt      two pipe flanges and a seal, exact geometry only; JT 9.5
// The committed files in samples/ were made by this program; equal code gives equal bytes.
// make_samples --single-part TRIANGLES FILE writes one part of about so many triangles instead, to measure
// with; make_samples --repeated-parts PLACED FILE an assembly of so many instances of 100 parts.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <string_view>

#include "samples/maker/bench_models.h"
#include "samples/maker/sample_files.h"

int main(int argument_count, char** arguments) {
  try {
    if (argument_count == 4 && arguments[1] == std::string_view("--single-part")) {
      loftbay::maker::writeJtFile(loftbay::maker::singlePart(std::strtoull(arguments[2], nullptr, 10)), {},
                                  arguments[3]);
      return 0;
    }
    if (argument_count == 4 && arguments[1] == std::string_view("--repeated-parts")) {
      const auto placed = static_cast<std::uint32_t>(std::strtoul(arguments[2], nullptr, 10));
      loftbay::maker::writeJtFile(loftbay::maker::repeatedParts(placed), {}, arguments[3]);
      return 0;
    }
    const std::filesystem::path folder = argument_count > 1 ? arguments[1] : ".";
    for (const auto& file : loftbay::maker::sampleFiles()) {
      const auto path = folder / file.name;
      loftbay::maker::writeJtFile(file.product, file.options, path);
      std::printf("%s: %llu bytes\n", path.string().c_str(),
                  static_cast<unsigned long long>(std::filesystem::file_size(path)));
    }
    return 0;
  } catch (const std::exception& e) {
    std::fprintf(stderr, "make_samples: %s\n", e.what());
    return 1;
  }
}

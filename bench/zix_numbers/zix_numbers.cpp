// What the scene library promises in numbers, each measured beside its yardstick in the same run:
//
//   zix_numbers            measures, prints figure and limit of each, ends with 1 when one is not kept
//   zix_numbers --quick    small sizes and no verdict: shows only that the measuring works
//
// Writing arrays is compared with plain 1 MiB writes of the same bytes, both ended by a flush to the device;
// opening a scene with reading its index bytes into memory and checking their checksum; memory while writing
// with a formula. Drawing, and reading arrays instead of mapping them, have no limit: their times are printed
// for the reader to judge.
#include <cstdio>
#include <cstring>
#include <exception>

#include "bench/zix_numbers/measuring.h"

int main(int count, char** arguments) {
  using namespace zix_numbers;
  quick = count > 1 && std::strcmp(arguments[1], "--quick") == 0;
  int code = 0;
  try {
    measureMemory();
    measureWriting();
    measureOpening();
    measureReading();
    measureDrawing();
    code = quick || allKept() ? 0 : 1;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "zix_numbers: %s\n", error.what());
    code = 1;
  }
  removeScratchFiles();
  return code;
}

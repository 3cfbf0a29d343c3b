// The element of an XT B-Rep segment: where the XT data lie in it.
#pragma once

#include <span>
#include <vector>

#include "jttk/file/byte_reader.h"
#include "jttk/file/error.h"
#include "jttk/file/jt_file.h"

namespace jttk::brep {

struct XtData {
  std::span<const std::byte> bytes;  // begins with 'P' 'S' 00 00
  std::uint64_t offset = 0;
};

// `data` are the unpacked data of a segment of type XtBrep. All versions: the wrapper's layouts differ by
// version; the right one leads to data that begin with the XT mark.
Result<XtData> findXtData(std::span<const std::byte> data, ByteOrder order, std::uint64_t base_offset);

// All XT data in a segment of type MultiXtBrep, whose wrapper is not known: wherever the mark follows a
// length that fits.
std::vector<XtData> findAllXtData(std::span<const std::byte> data, ByteOrder order,
                                  std::uint64_t base_offset);

}  // namespace jttk::brep

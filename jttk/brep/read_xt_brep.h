// Reading XT B-Rep segments, and the length unit of a part. Pure functions, safe on any bytes: what is
// damaged is reported, the rest comes.
#pragma once

#include <optional>
#include <string_view>
#include <vector>

#include "jttk/brep/bodies.h"
#include "jttk/file/error.h"
#include "jttk/file/jt_file.h"

namespace jttk::brep {

// Reads the whole model of a segment of type XtBrep. `order` is the file's byte order (JtFile::byteOrder()).
// An error only where the data as a whole cannot be read: no XT data, an unknown node type, data that end
// early. Damaged faces are in the result, marked (Face::usable).
Result<Bodies> readXtBrep(const Segment& segment, ByteOrder order);

// The same of a segment of type MultiXtBrep: one model per XT stream in it. An error when there is none, or
// one that cannot be read to its end.
Result<std::vector<Bodies>> readMultiXtBrep(const Segment& segment, ByteOrder order);

// The length in metres of the unit that a property JT_PROP_MEASUREMENT_UNITS names ("Millimeters", any letter
// case); empty when the name is not known.
std::optional<double> metresOfUnit(std::string_view measurement_units);

// JT length units per metre for a part. The unit that the data state comes first; then `measurement_units`,
// the part's property JT_PROP_MEASUREMENT_UNITS (any letter case; empty: not known). Empty when neither
// states it; then use unitsPerMetreFromBox.
std::optional<double> unitsPerMetre(const Bodies& bodies, std::string_view measurement_units);

// Units per metre from the part's box in JT units (min x y z, max x y z): the size of that box divided by
// that of the bodies, rounded to the nearest usual unit. Empty when either has no size.
std::optional<double> unitsPerMetreFromBox(const Bodies& bodies, const float box[6]);

}  // namespace jttk::brep

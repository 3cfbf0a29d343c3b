// The minimum edge length for parts that are tessellated on load: one setting of the process, read once at
// start-up and used by every job.
#pragma once

#include <string_view>

namespace loftbay::diag {

inline constexpr float kDefaultUlpTessTolerance = 0.02F;

// In model units. Valid only if UlpTessToleranceGiven.
extern float UlpTessTolerance;
extern bool UlpTessToleranceGiven;

// Takes the setting from the environment variable MERIDAN_JT_ULP_TESS_TOLERANCE and logs that it is set.
// Does nothing when the variable does not exist. Every value is accepted, also 0 and negative ones.
void readUlpTessTolerance();

// Takes the setting from a caller (an option of a console program). Logs nothing.
void setUlpTessTolerance(float tolerance);

// What C's atof makes of a text in the "C" locale: leading white space, sign, decimal or hexadecimal number
// or inf or nan; text behind the number is ignored; 0 where there is no number.
double numberFromText(std::string_view text);

}  // namespace loftbay::diag

// Functions of angles that give the same bits on every host. The C library's differ in their last bits from
// host to host, and meshing compares nearly equal distances, so one bit can change the mesh. These are made
// of the operations that IEEE 754 fixes to the bit (+ - * / and the square root) alone.
//
// All angles are radians. Results are within two units in the last place of the true value, where arguments
// of sine, cosine and tangent are below a million; beyond, the angle is first taken off whole turns of the
// double next to 2 pi. NaN and infinite angles give NaN.
#pragma once

namespace loftbay::portable {

double sin(double angle_rad);
double cos(double angle_rad);
double tan(double angle_rad);

// -pi .. pi; of (0, 0), and where zeros have signs, as the C library's.
double atan2(double y, double x);

// Arguments -1 .. 1; others give NaN.
double asin(double sine);
double acos(double cosine);

// The root of the sum of squares. Squares of more than about 1e154 overflow to infinity.
double hypot(double x, double y);
double hypot(double x, double y, double z);

}  // namespace loftbay::portable

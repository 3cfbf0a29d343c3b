// The solids that the beam engine's parts are made of, drawn around the points where they are held. Lengths
// in millimetres. `n` and `segments` are the number of segments of a full circle: the level of detail.
#pragma once

#include <cstddef>
#include <numbers>

#include "samples/maker/solids.h"

namespace loftbay::maker::engine {

// The main dimensions that solids have.
inline constexpr double kBaseHeight = 24;
inline constexpr double kHalfBeam = 230;  // from the pivot to either end pin
inline constexpr double kCrankRadius = 45;
inline constexpr double kRodLength = 160;
inline constexpr double kCylinderHeight = 140;

inline double radians(double degrees) { return degrees * std::numbers::pi / 180; }
inline double degrees(double radians) { return radians * 180 / std::numbers::pi; }

// Along y, centred.
Solid crossBar(double radius, double length, std::size_t segments);
Solid basePlate(std::size_t n);
Solid column(std::size_t n);
Solid entablature(std::size_t n);
// A pedestal with a round top and a bore.
Solid bearing(double half_width, double height, double radius, double bore, double thickness, std::size_t n);
Solid beam(std::size_t n);
Solid cylinderBody(std::size_t n);
Solid cylinderCover(std::size_t n);
Solid valveChest(std::size_t n);
Solid steamPipe(std::size_t n);
Solid pistonRod(std::size_t n);
Solid crosshead(std::size_t n);
// A flat bar with an eye at either end; the lower eye is the origin, the upper one straight above.
Solid eyedBar(double length, double radius_low, double radius_high, double bore, double thickness,
              std::size_t n);
Solid connectingRod(std::size_t n);
Solid wheelRim(std::size_t n);
Solid wheelSpokes(std::size_t n);
Solid spurGear(std::size_t teeth, double root, double tip, double bore, std::size_t n);
Solid hexBolt(std::size_t n);
Solid governorStand(std::size_t n);
Solid governorSleeve(std::size_t n);
Solid governorArm(std::size_t n);
Solid pumpBody(std::size_t n);

}  // namespace loftbay::maker::engine

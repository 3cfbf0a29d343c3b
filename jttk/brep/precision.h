// The limits of double arithmetic and of real data that exact geometry is measured by: name, unit and reason
// of each. What the user asks for is in tolerances.h; counts and shares that belong to one method stand with
// it.
//
// Some numbers answer the same question and yet differ. All of them decide where points of a mesh come to
// lie, so they keep their values: a scene that is made again stays the same to the bit.
#pragma once

namespace jttk::brep {

// ---- Lengths, in metres ----

// The linear resolution of the models (BODY.res_linear of every file seen): points of a model nearer than
// this are one point, and shorter edges have no direction to rely on.
inline constexpr double kModelResolution = 1e-8;
// Computed points nearer than this are one point. A tenth of the model's resolution, so that two points that
// the model itself keeps apart are never taken for one. Also for other lengths that should be equal.
inline constexpr double kSamePoint = 1e-9;
// Ends of a curve this near to each other close it, for an edge that is stated to be closed (a tolerant
// edge's own tolerance may be larger). A hundred times the resolution: the edge already says that there is no
// gap.
inline constexpr double kClosingGap = 1e-6;
// A line of the parameter plane whose points all lie this near to each other is a pole. Ten times the
// resolution: a margin for surfaces that end in a point only nearly.
inline constexpr double kPoleSize = 1e-7;
// The same asked of the derivative: its length times the range of the parameter. Only a quick first test,
// hence wide; kPoleSize decides.
inline constexpr double kPoleReach = 1e-5;
// What is shorter has no direction: rounding is as large. Also for derivatives (metres per parameter unit)
// and for products of two of them.
inline constexpr double kNoLength = 1e-12;
// Where the limits of a box begin before a point is added: any point moves them.
inline constexpr double kBeyondAll = 1e300;

// ---- Shares of a length ----

// How far the ends of a closed spline curve may be apart, of its size; added to kSamePoint.
inline constexpr double kClosedCurveGap = 1e-9;
// The same of a surface; added to kModelResolution. More than for curves, a margin: two borders are compared
// all along, and where they are not taken for one, the loops of the face cannot be followed over them.
inline constexpr double kClosedSurfaceGap = 1e-7;
// Of the chord tolerance: how exactly intersection curves are followed, when an inverted point is as good as
// on its surface, and when mesh points that fall on one point of the parameter plane are the same. Small
// enough that none of it shows in the distance of triangles to their surface.
inline constexpr double kPrecisionShare = 1e-3;
// Of the accepted distance: a search over several starts ends early at a result as good as this, because only
// then another start cannot be a better one in any way that counts.
inline constexpr double kGoodEnoughShare = 1e-3;
// Of the step: iterations that move points end at this, with kNoLength for steps near 0.
inline constexpr double kPointSettledShare = 1e-9;

// ---- Directions (unit vectors), sines and cosines ----

// How far the length of a stated unit vector may be from 1.
inline constexpr double kUnitLengthError = 1e-6;
// Largest cosine between two stated axes that should be perpendicular. More than kUnitLengthError: each of
// both axes may be off.
inline constexpr double kSquareError = 1e-5;
// A sine or cosine below this counts as 0: of the half angle of a cone, whose apex would be too far away.
inline constexpr double kNoSine = 1e-9;
// Of a unit vector without its part along another one: if less is left, it has no direction across that.
inline constexpr double kNoAcross = 1e-9;
// The same of a vector that was interpolated between two, which can be trusted less.
inline constexpr double kNoAcrossInterpolated = 1e-6;
// Sine between Pu and Pv below which a point is singular, by Pu x Pv against the mean square of both.
inline constexpr double kSingularSine = 1e-7;
// Sines between the normals of two surfaces where they meet. Below kTangentSine an edge is followed as that
// of surfaces that touch; the chart of an intersection curve has a direction above kCrossingSine. Both mean
// "too tangent to tell"; the difference between them has no deeper reason.
inline constexpr double kTangentSine = 0.03;
inline constexpr double kCrossingSine = 0.02;
// Of three planes that should meet in a point: below this volume of their unit normals they do not.
inline constexpr double kFlatVolume = 1e-4;

// ---- Parameters ----

// Of a chart (index and fraction): nearer to a chart point, a parameter is that point's.
inline constexpr double kChartStep = 1e-7;
// Of a period: what is left of a whole number of periods by rounding.
inline constexpr double kPeriodRounding = 1e-9;
// Of a piece: a curve that needs a whole number of pieces and at most this much more gets that number.
inline constexpr double kPieceRounding = 1e-9;
// Relative to 1 and the parameter: smaller steps of a search along a curve are rounding.
inline constexpr double kParameterRounding = 1e-15;
// In the triangulated plane, where a face is about 2 large: the least size of the frame around it.
inline constexpr double kSmallestFrame = 1e-9;

// ---- Stated numbers ----

// Lengths in metres and parameters beyond this are taken for damage, or for not set: there, writers put
// -3.14158e13.
inline constexpr double kMaximumReal = 1e9;
// Weights of rational splines must be above this: points are divided by them.
inline constexpr double kSmallestWeight = 1e-12;

}  // namespace jttk::brep

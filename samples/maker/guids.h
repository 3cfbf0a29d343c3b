// The type ids that the maker writes.
#pragma once

#include "samples/maker/byte_writer.h"

namespace loftbay::maker::guids {

// Most ids of the format's first years share their tail.
constexpr GuidValue classic(std::uint32_t a) {
  return {a, 0x2ac8, 0x11d1, {0x9b, 0x6b, 0x00, 0x80, 0xc7, 0xbb, 0x59, 0x97}};
}
constexpr GuidValue product(std::uint32_t a) {
  return {a, 0x38fb, 0x11d1, {0xa5, 0x06, 0x00, 0x60, 0x97, 0xbd, 0xc6, 0xe1}};
}

inline constexpr GuidValue kEnd = {0xffffffff, 0xffff, 0xffff, {255, 255, 255, 255, 255, 255, 255, 255}};

inline constexpr GuidValue kPartition = classic(0x10dd103e);
inline constexpr GuidValue kGroup = classic(0x10dd101b);
inline constexpr GuidValue kInstance = classic(0x10dd102a);
inline constexpr GuidValue kPart = product(0xce357244);
inline constexpr GuidValue kMetaData = product(0xce357245);
inline constexpr GuidValue kRangeLod = classic(0x10dd104c);
inline constexpr GuidValue kTriStripSet = classic(0x10dd1077);
inline constexpr GuidValue kPolygonSet = classic(0x10dd1048);
inline constexpr GuidValue kPolylineSet = classic(0x10dd1046);
inline constexpr GuidValue kPointSet = {
    0x98134716, 0x0010, 0x0818, {0x19, 0x98, 0x08, 0x00, 0x09, 0x83, 0x5d, 0x5a}};
inline constexpr GuidValue kPrimitiveSet = {
    0xe40373c1, 0x1ad9, 0x11d3, {0x9d, 0xaf, 0x00, 0xa0, 0xc9, 0xc7, 0xdd, 0xc2}};

inline constexpr GuidValue kTransform = classic(0x10dd1083);
inline constexpr GuidValue kMaterial = classic(0x10dd1030);

inline constexpr GuidValue kStringAtom = classic(0x10dd106e);
inline constexpr GuidValue kLateLoadedAtom = {
    0xe0b05be5, 0xfbbd, 0x11d1, {0xa3, 0xa7, 0x00, 0xaa, 0x00, 0xd1, 0x09, 0x54}};

inline constexpr GuidValue kTriStripLod = classic(0x10dd10ab);
inline constexpr GuidValue kPolygonLod = classic(0x10dd109f);
inline constexpr GuidValue kPolylineLod = classic(0x10dd10a1);
inline constexpr GuidValue kPointLod = {
    0x98134716, 0x0011, 0x0818, {0x19, 0x98, 0x08, 0x00, 0x09, 0x83, 0x5d, 0x5a}};
inline constexpr GuidValue kPrimitiveLod = {
    0xe40373c2, 0x1ad9, 0x11d3, {0x9d, 0xaf, 0x00, 0xa0, 0xc9, 0xc7, 0xdd, 0xc2}};
inline constexpr GuidValue kTopoMesh = {
    0xf830a5ad, 0xbe4c, 0x4fbc, {0x9b, 0x5f, 0xb9, 0x26, 0x92, 0x78, 0xd2, 0xe1}};

}  // namespace loftbay::maker::guids

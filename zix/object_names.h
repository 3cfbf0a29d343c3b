// Texts for the kinds of objects and meshes, as tools and messages show them.
#pragma once

#include <array>
#include <cstdint>

#include "zix/zix.h"

namespace Orb::Zix {

// All object types in the order of their numbers.
inline constexpr std::array<ObjectType, 7> kObjectTypes = {
    ObjectType::IndexArray, ObjectType::Coordinates, ObjectType::Material, ObjectType::Transform,
    ObjectType::Mesh,       ObjectType::Shape,       ObjectType::Node};

constexpr const char* objectTypeName(ObjectType type) {
  switch (type) {
    case ObjectType::IndexArray:
      return "IndexArray";
    case ObjectType::Coordinates:
      return "Coordinates";
    case ObjectType::Material:
      return "Material";
    case ObjectType::Transform:
      return "Transform";
    case ObjectType::Mesh:
      return "Mesh";
    case ObjectType::Shape:
      return "Shape";
    case ObjectType::Node:
      return "Node";
  }
  return "unknown";
}

constexpr bool isObjectType(std::uint32_t value) {
  return value == 4 || value == 11 || (value >= 14 && value <= 16) || value == 18 || value == 19;
}

constexpr const char* meshTypeName(MeshType type) {
  switch (type) {
    case MeshType::Triangles:
      return "triangles";
    case MeshType::Lines:
      return "lines";
    case MeshType::Points:
      return "points";
  }
  return "unknown";
}

}  // namespace Orb::Zix

// Bodies of the attribute elements: transforms and materials. Other attributes (lights, textures, line
// styles, …) do not change what is converted; they are known, so that a node may list them.
#pragma once

#include <optional>

#include "jttk/file/elements.h"
#include "jttk/graph/scene_graph.h"

namespace jttk {

// The kind of attribute that a GUID names; empty when it is unknown.
std::optional<AttributeKind> attributeKind(const Guid& guid);

// Kinds that a scene cannot hold; their elements are counted.
[[nodiscard]] bool isLight(const Guid& guid);  // a light itself, not a set of lights
[[nodiscard]] bool isTexture(const Guid& guid);

// Reads the element's body and appends the attribute to the graph. Fails when the body does not hold one;
// the graph is unchanged then.
Result<void> readAttribute(Element& element, AttributeKind kind, Version version, SceneGraph& graph);

}  // namespace jttk

// Bodies of the attribute elements: transforms and materials. Other attributes (lights, textures, line
// styles, …) do not change what is converted; they are known, so that a node may list them.
#pragma once

#include <optional>

#include "jttk/model/elements.h"
#include "jttk/model/scene_graph.h"

namespace jttk {

// The kind of attribute that a GUID stands for; empty when it stands for none that is known.
std::optional<AttributeKind> attributeKind(const Guid& guid);

// What the scene has no place for; elements of these kinds are counted.
[[nodiscard]] bool isLight(const Guid& guid);  // a light itself, not a set of lights
[[nodiscard]] bool isTexture(const Guid& guid);

// Reads the element's body and appends the attribute to the graph. False when the body does not hold one;
// the graph is unchanged then and the element's reader has the reason.
bool readAttribute(Element& element, AttributeKind kind, Version version, SceneGraph& graph);

}  // namespace jttk

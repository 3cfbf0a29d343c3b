// What a scene holds, in words: counts, bounds, views and meshes as text lines or as one JSON document (its
// fields: see docs/zix-format.md), and the tree with one line per object. The text comes piece by piece; all
// of it is valid UTF-8 whatever bytes the scene's names hold.
#pragma once

#include <functional>
#include <optional>
#include <string_view>

#include "zix/reader.h"

namespace Orb::Zix {

using TextSink = std::function<void(std::string_view)>;

// In JSON no text is cut. Why there is no such document: a text that very many records name, or very deep
// paths, would make it some hundred times as long as the file, which no model does. Ask before writing one.
std::optional<ReadError> infoJsonRefusal(const SceneFile& scene);
std::optional<ReadError> treeJsonRefusal(const SceneFile& scene, bool with_properties = false);

void writeInfoText(const SceneFile& scene, const TextSink& out);
void writeInfoJson(const SceneFile& scene, const TextSink& out);

// Indented by the level, up to a level from which on it is written as a number. With the properties of each
// object below its line. Long names are cut.
void writeTree(const SceneFile& scene, const TextSink& out, bool with_properties = false);
// The same as one document, names uncut: a list of objects, each behind its parent, so that a tree of any
// depth is read without recursion.
void writeTreeJson(const SceneFile& scene, const TextSink& out, bool with_properties = false);

}  // namespace Orb::Zix

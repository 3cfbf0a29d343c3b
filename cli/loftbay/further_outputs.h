// What a conversion writes beside the scene: a picture and other formats, out of the scene that was saved.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "cli/loftbay/convert_options.h"
#include "cli/scene_outputs.h"

namespace loftbay::cli {

// Host form, in the order in which they are written.
std::vector<std::string> furtherOutputs(const ConvertOptions& options);

// Why one of them may not be written: it is the input, the scene, or another of them, or a page for which the
// viewer is missing. Empty: all may.
std::string outputComplaint(const std::string& input, const std::string& scene,
                            const std::vector<std::string>& outputs);

// Writes one of them out of the scene; a page shows the report. The reason where that failed. `tell` hears
// what the user may want to know of the result.
std::optional<std::string> writeFurther(const std::string& scene, const std::string& output,
                                        const std::string& report, const TellUser& tell);

}  // namespace loftbay::cli

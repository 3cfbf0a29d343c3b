// What the program calls itself.
#pragma once

namespace loftbay::diag {

// Stands in the log, the about box and the application text of every scene.
inline constexpr const char* kBuildNumber = "2.2.125.331";

// The source of the product's display name and version. The texts are literals: never freed.
class CBuildInfo {
 public:
  // The display name of the product `key` ("loftbay").
  const char* GetAppName(const char* key) const;
  const char* GetVersion() const;
};

}  // namespace loftbay::diag

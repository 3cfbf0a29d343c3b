// A GLB file taken apart.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace loftbay::testing_support {

struct Glb {
  nlohmann::json json;
  std::string binary;
};

inline Glb parseGlb(const std::string& bytes) {
  const auto word = [&](std::size_t offset) {
    std::uint32_t value = 0;
    std::memcpy(&value, bytes.data() + offset, 4);
    return value;
  };
  EXPECT_EQ(bytes.substr(0, 4), "glTF");
  EXPECT_EQ(word(4), 2U);
  EXPECT_EQ(word(8), bytes.size());
  const std::size_t json_size = word(12);
  EXPECT_EQ(json_size % 4, 0U);
  EXPECT_EQ(bytes.substr(16, 4), "JSON");
  Glb glb{nlohmann::json::parse(bytes.substr(20, json_size)), ""};
  if (bytes.size() > 20 + json_size) {
    EXPECT_EQ(word(20 + json_size), bytes.size() - 28 - json_size);
    EXPECT_EQ(bytes.substr(24 + json_size, 4), std::string("BIN\0", 4));
    glb.binary = bytes.substr(28 + json_size);
  }
  return glb;
}

// The values of an accessor whose components have the type T.
template <typename T>
std::vector<T> glbValues(const Glb& glb, std::size_t accessor) {
  const auto& view =
      glb.json["bufferViews"][glb.json["accessors"][accessor]["bufferView"].get<std::size_t>()];
  std::vector<T> values(view["byteLength"].get<std::size_t>() / sizeof(T));
  const std::size_t offset = view["byteOffset"];
  EXPECT_LE(offset + values.size() * sizeof(T), glb.binary.size());
  std::memcpy(values.data(), glb.binary.data() + offset, values.size() * sizeof(T));
  return values;
}

}  // namespace loftbay::testing_support

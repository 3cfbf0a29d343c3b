// A Zix file as the document shows it: each field on a line of its own, with its bytes, name and value.
// Written from the document's tables, not from the reader.
#pragma once

#include <fmt/format.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

namespace loftbay::testing_support {

class AnnotatedDump {
 public:
  explicit AnnotatedDump(std::string_view file) : file_(file) {}

  std::string text() {
    const auto directory = static_cast<std::size_t>(at<std::uint64_t>(24));
    const auto chunk_count = static_cast<std::size_t>(at<std::uint64_t>(32));
    title("header");
    fields(0, {"8 magic", "u16 major version", "u16 minor version", "u32 header size", "u64 file size",
               "u64 directory offset", "u64 chunk count", "x64 directory checksum", "u64 reserved",
               "x64 header checksum"});
    std::size_t end = 64;
    for (std::size_t i = 0; i < chunk_count; ++i) {
      const std::size_t entry = directory + 40 * i;
      const auto offset = static_cast<std::size_t>(at<std::uint64_t>(entry + 8));
      padding(end, offset);
      end = offset + static_cast<std::size_t>(at<std::uint64_t>(entry + 16));
      chunk(i, std::string(file_.substr(entry, 4)), offset, end, at<std::uint32_t>(entry + 32));
    }
    padding(end, directory);
    title("directory");
    for (std::size_t i = 0; i < chunk_count; ++i) {
      row(i);
      fields(directory + 40 * i, {"4 type", "u32 flags", "u64 offset", "u64 size", "x64 checksum",
                                  "u32 record size", "u32 reserved"});
    }
    return text_;
  }

 private:
  template <typename T>
  [[nodiscard]] T at(std::size_t offset) const {
    T value;
    std::memcpy(&value, file_.data() + offset, sizeof(T));
    return value;
  }

  void title(const std::string& name) { text_ += fmt::format("{}{}\n", text_.empty() ? "" : "\n", name); }
  void row(std::size_t number) { text_ += fmt::format("  record {}\n", number); }

  void line(std::size_t offset, std::size_t size, const std::string& note) {
    std::string bytes;
    for (std::size_t i = offset; i < offset + size; ++i) {
      bytes += fmt::format("{:02x} ", static_cast<unsigned char>(file_[i]));
    }
    text_ += fmt::format("{:06x}  {:<36}{}\n", offset, bytes, note);
  }

  void padding(std::size_t start, std::size_t end) {
    if (start < end)
      text_ += fmt::format("{:06x}  {:<36}padding\n", start, fmt::format("00 ({} times)", end - start));
  }

  void fields(std::size_t offset, const std::vector<std::string>& list) {
    for (const std::string& field : list) {
      const auto blank = field.find(' ');
      const std::string type = field.substr(0, blank);
      const std::string name = field.substr(blank + 1);
      offset += oneField(offset, type, name);
    }
  }

  std::size_t oneField(std::size_t offset, const std::string& type, const std::string& name) {
    if (type == "u16") return note(offset, 2, name, fmt::format("{}", at<std::uint16_t>(offset)));
    if (type == "u32") return note(offset, 4, name, fmt::format("{}", at<std::uint32_t>(offset)));
    if (type == "n32") {
      const auto value = at<std::uint32_t>(offset);
      return note(offset, 4, name, value == 0xFFFFFFFF ? "none" : fmt::format("{}", value));
    }
    if (type == "u64") return note(offset, 8, name, fmt::format("{}", at<std::uint64_t>(offset)));
    if (type == "x64") return note(offset, 8, name, fmt::format("0x{:016X}", at<std::uint64_t>(offset)));
    if (type == "f32") return note(offset, 4, name, fmt::format("{}", at<float>(offset)));
    if (type == "f64") return note(offset, 8, name, fmt::format("{}", at<double>(offset)));
    return note(offset, static_cast<std::size_t>(std::stoul(type)), name, "");
  }

  std::size_t note(std::size_t offset, std::size_t size, const std::string& name, const std::string& value) {
    line(offset, size, value.empty() ? name : fmt::format("{} = {}", name, value));
    return size;
  }

  void chunk(std::size_t number, const std::string& type, std::size_t start, std::size_t end,
             std::uint32_t record_size) {
    title(fmt::format("chunk {}: {}, {} bytes", number, type, end - start));
    if (type == "TEXT") {
      for (std::size_t i = start; i < end; i += 12) {
        const std::size_t size = std::min<std::size_t>(12, end - i);
        line(i, size, fmt::format("\"{}\"", file_.substr(i, size)));
      }
      return;
    }
    for (std::size_t i = start; i < end; i += record_size) {
      if (record_size > 4 && type != "F32A") row((i - start) / record_size);
      fields(i, fieldsOf(type));
    }
  }

  static std::vector<std::string> fieldsOf(const std::string& type) {
    if (type == "F32A") return {"f32 x", "f32 y", "f32 z"};
    if (type == "U32A" || type == "CHLD") return {"u32 value"};
    if (type == "SCNE") {
      return {"f64 application value",
              "u64 model name offset",
              "u64 application offset",
              "u64 save text offset",
              "u32 model name size",
              "u32 application size",
              "u32 save text size",
              "u32 flags",
              "n32 root",
              "u32 reserved"};
    }
    if (type == "OBJS") {
      return {"u32 type",      "u32 ordinal",  "u64 name offset", "u32 name size",  "n32 parent",
              "n32 placement", "n32 material", "u32 first child", "u32 child count"};
    }
    if (type == "MESH") {
      return {"u32 mesh type", "n32 coordinates", "n32 indices", "n32 lengths", "u32 flags", "u32 reserved"};
    }
    if (type == "CRDS") return {"u32 dimension", "n32 chunk", "u32 flags", "u32 reserved"};
    if (type == "INDX") return {"n32 chunk", "u32 reserved"};
    if (type == "XFRM") {
      return {"f32 translation x",
              "f32 y",
              "f32 z",
              "f32 rotation axis x",
              "f32 y",
              "f32 z",
              "f32 rotation angle",
              "f32 scale x",
              "f32 y",
              "f32 z",
              "u32 flags",
              "u32 reserved"};
    }
    if (type == "MATL") {
      std::vector<std::string> list;
      for (const char* name : {"diffuse", "specular", "emission", "ambient"}) {
        list.push_back(std::string("f32 ") + name + " red");
        list.insert(list.end(), {"f32 green", "f32 blue",
                                 std::string(name) == "diffuse" ? "f32 transparency" : "f32 unused"});
      }
      list.insert(list.end(), {"f32 ambient intensity", "u32 flags"});
      return list;
    }
    if (type == "VIEW") {
      return {"u64 name offset", "u32 name size", "u32 reserved", "f64 position x", "f64 y",
              "f64 z",           "f64 target x",  "f64 y",        "f64 z",          "f64 up x",
              "f64 y",           "f64 z",         "f64 height"};
    }
    return {};
  }

  std::string_view file_;
  std::string text_;
};

}  // namespace loftbay::testing_support

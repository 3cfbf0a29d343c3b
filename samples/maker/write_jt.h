// Writes products as JT files.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "samples/maker/byte_writer.h"
#include "samples/maker/format.h"
#include "samples/maker/product.h"

namespace loftbay::maker {

struct JtOutput {
  std::string name;  // relative path with `/`
  Bytes bytes;
};

// The files of a product in memory: the first is the product's own ("<name>.jt"), the others (with
// Options::external_parts) those that it refers to. The same product and options give the same bytes.
// Throws std::runtime_error for what the version cannot hold.
std::vector<JtOutput> writeJt(const Product& product, const Options& options);

// The bytes of a product without external files; `file_name` is the name that the file has or will have
// (empty: made from the product's).
Bytes writeJtBytes(const Product& product, const Options& options, const std::string& file_name = {});

// Writes to `path`, segment by segment (and to the folder `<product.name>` beside it, with external parts).
// Throws std::runtime_error when the file cannot be written.
void writeJtFile(const Product& product, const Options& options, const std::filesystem::path& path);

}  // namespace loftbay::maker

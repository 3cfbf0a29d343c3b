// The one file that holds stb_image_write. It writes into memory; the bytes are written through OutputFile.
#include "zix/png.h"

#include <cstdlib>
#include <new>
#include <stdexcept>

#include "host/path.h"
#include "zix/output_file.h"

namespace {
// stb does not check for null, so this throws instead; memory that stb holds is leaked then.
void* orThrow(void* memory) {
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}
}  // namespace

#define STBIW_MALLOC(size) orThrow(std::malloc(size))
#define STBIW_REALLOC(memory, size) orThrow(std::realloc(memory, size))
#define STBIW_FREE(memory) std::free(memory)
#define STB_IMAGE_WRITE_IMPLEMENTATION
#define STB_IMAGE_WRITE_STATIC
#define STBI_WRITE_NO_STDIO
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wunused-function"
#pragma GCC diagnostic ignored "-Wold-style-cast"
#include <stb/stb_image_write.h>
#pragma GCC diagnostic pop

namespace Orb::Zix {

std::optional<std::string> writePng(std::string_view program_path, std::uint32_t width, std::uint32_t height,
                                    std::span<const std::uint8_t> rgb) {
  if (rgb.size() != std::size_t{3} * width * height)
    throw std::invalid_argument("pixels do not fill the picture");
  OutputFile file;
  auto failure = file.open(program_path);
  struct Target {
    OutputFile& file;
    std::optional<OutputFailure>& failure;
  } target{file, failure};
  const auto append = [](void* context, void* data, int size) {
    auto& to = *static_cast<Target*>(context);
    if (to.failure) return;
    to.failure =
        to.file.append(std::as_bytes(std::span(static_cast<char*>(data), static_cast<std::size_t>(size))));
  };
  try {
    if (!failure) {
      stbi_write_png_to_func(append, &target, static_cast<int>(width), static_cast<int>(height), 3,
                             rgb.data(), static_cast<int>(3 * width));
    }
  } catch (const std::bad_alloc&) {
    return std::string(loftbay::host::toHostPath(program_path)) +
           ": there is not enough memory for the picture";
  }
  if (!failure) failure = file.commit();
  return failure ? std::optional(failure->text()) : std::nullopt;
}

}  // namespace Orb::Zix

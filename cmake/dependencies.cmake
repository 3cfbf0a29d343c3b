# Libraries from Debian. Header-only ones are staged folder by folder into one include directory when
# cross-compiling, because the compiler for Windows rightly finds nothing under /usr/include.

add_library(loftbay_headers INTERFACE)  # CLI11, fmt, nlohmann json, xxhash, tl::expected, stb
target_compile_definitions(loftbay_headers INTERFACE XXH_INLINE_ALL)

if(CMAKE_CROSSCOMPILING)
  set(staged ${CMAKE_BINARY_DIR}/staged-include)
  file(MAKE_DIRECTORY ${staged})
  foreach(folder CLI fmt nlohmann tl stb)
    file(CREATE_LINK /usr/include/${folder} ${staged}/${folder} SYMBOLIC)
  endforeach()
  foreach(header xxhash.h)
    file(CREATE_LINK /usr/include/${header} ${staged}/${header} SYMBOLIC)
  endforeach()
  target_include_directories(loftbay_headers SYSTEM INTERFACE ${staged})
else()
  target_include_directories(loftbay_headers SYSTEM INTERFACE /usr/include)
endif()

if(CMAKE_CROSSCOMPILING)
  set(ZLIB_USE_STATIC_LIBS ON)  # programs for Windows are one file each
endif()
find_package(ZLIB REQUIRED)
if(CMAKE_CROSSCOMPILING)
  # scripts/build-lzma-win64 puts liblzma, built from Debian's source package, here.
  set(LOFTBAY_LZMA_ROOT ${PROJECT_SOURCE_DIR}/build/deps/win64 CACHE PATH "liblzma for Windows")
  add_library(loftbay_lzma STATIC IMPORTED)
  set_target_properties(loftbay_lzma PROPERTIES
    IMPORTED_LOCATION ${LOFTBAY_LZMA_ROOT}/lib/liblzma.a
    INTERFACE_INCLUDE_DIRECTORIES ${LOFTBAY_LZMA_ROOT}/include
    INTERFACE_COMPILE_DEFINITIONS LZMA_API_STATIC)
else()
  find_package(LibLZMA REQUIRED)
  add_library(loftbay_lzma INTERFACE)
  target_link_libraries(loftbay_lzma INTERFACE LibLZMA::LibLZMA)
endif()

if(LOFTBAY_TESTS OR LOFTBAY_FUZZ)
  if(CMAKE_CROSSCOMPILING)
    set(INSTALL_GTEST OFF CACHE BOOL "" FORCE)
    add_subdirectory(/usr/src/googletest ${CMAKE_BINARY_DIR}/googletest EXCLUDE_FROM_ALL SYSTEM)
    add_library(loftbay_gtest ALIAS gmock)
    foreach(library gtest gmock)  # they are compiled here; what the tests need of them is quick anyway
      target_compile_options(${library} PRIVATE -O0)
    endforeach()
  else()
    find_package(GTest REQUIRED)
    add_library(loftbay_gtest ALIAS GTest::gmock)
  endif()
endif()

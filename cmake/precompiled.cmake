# Headers that nearly every source reads are parsed once: for the programs, and for the tests, which are compiled
# with other options. Sources still include what they use; -DLOFTBAY_PRECOMPILED=OFF builds without, and shows it.

option(LOFTBAY_PRECOMPILED "Parse the standard library's and the test library's headers once" ON)
if(NOT LOFTBAY_PRECOMPILED)
  set(CMAKE_DISABLE_PRECOMPILE_HEADERS ON)
endif()

set(loftbay_standard_headers <algorithm> <array> <bit> <cmath> <cstddef> <cstdint> <cstring> <filesystem> <functional>
  <limits> <map> <memory> <numbers> <optional> <set> <span> <stdexcept> <string> <string_view> <unordered_map>
  <utility> <vector>)
set(loftbay_test_headers ${loftbay_standard_headers} <cstdio> <cstdlib> <fstream> <random> <sstream>
  <gmock/gmock.h> <gtest/gtest.h>)

file(CONFIGURE OUTPUT precompiled.cpp CONTENT "// Nothing: this target is there for its headers.\n")

add_library(loftbay_precompiled OBJECT ${CMAKE_CURRENT_BINARY_DIR}/precompiled.cpp)
target_link_libraries(loftbay_precompiled PRIVATE loftbay_options)
target_precompile_headers(loftbay_precompiled PRIVATE ${loftbay_standard_headers})

if(LOFTBAY_TESTS)
  add_library(loftbay_precompiled_tests OBJECT EXCLUDE_FROM_ALL ${CMAKE_CURRENT_BINARY_DIR}/precompiled.cpp)
  target_link_libraries(loftbay_precompiled_tests PRIVATE loftbay_options loftbay_gtest)
  target_compile_options(loftbay_precompiled_tests PRIVATE -O0)
  set_target_properties(loftbay_precompiled_tests PROPERTIES LOFTBAY_UNOPTIMISED ON)
  target_precompile_headers(loftbay_precompiled_tests PRIVATE ${loftbay_test_headers})
endif()

# Sources of one target are compiled in groups: what several of them instantiate is then compiled once. So names in
# unnamed namespaces are unique within a target. -DLOFTBAY_UNITY=OFF compiles each by itself, as check-tidy does.
option(LOFTBAY_UNITY "Compile the sources of a target in groups" ON)
set(CMAKE_UNITY_BUILD ${LOFTBAY_UNITY})
set(CMAKE_UNITY_BUILD_BATCH_SIZE 8)

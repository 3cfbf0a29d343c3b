# The sources of test programs, compiled without optimisation, which takes half the time; what is tested is optimised as
# usual.
#
# clang++ compiles them, in less than half of g++'s time, in a build folder of its own (presets linux-test-objects and
# windows-test-objects), and the other builds link them. The presets `linux` and `linux-asan` share theirs, which have no
# sanitizers. A build by hand, or without clang++, compiles its own.
option(LOFTBAY_SHARED_TEST_OBJECTS "Link the test sources that the preset <system>-test-objects compiles" OFF)
option(LOFTBAY_ONLY_TEST_OBJECTS "Compile test sources and nothing else" OFF)

find_program(LOFTBAY_TEST_COMPILER clang++)
if(LOFTBAY_SHARED_TEST_OBJECTS AND NOT LOFTBAY_TEST_COMPILER)
  set(LOFTBAY_SHARED_TEST_OBJECTS OFF)
endif()
if(LOFTBAY_SHARED_TEST_OBJECTS)
  if(WIN32)
    set(preset windows-test-objects)
    set(LOFTBAY_TEST_OBJECTS ${PROJECT_SOURCE_DIR}/build/win64-test-objects)
  else()
    set(preset linux-test-objects)
    set(LOFTBAY_TEST_OBJECTS ${PROJECT_SOURCE_DIR}/build/test-objects)
  endif()
  execute_process(COMMAND ${CMAKE_COMMAND} --preset ${preset} WORKING_DIRECTORY ${PROJECT_SOURCE_DIR}
    OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
endif()

# GNU ar takes minutes to list the symbols of Windows objects with many small sections. These archives are linked whole, so
# LLVM's linker does not ask for the list.
if(LOFTBAY_ONLY_TEST_OBJECTS AND LOFTBAY_LLD)
  set(CMAKE_CXX_ARCHIVE_CREATE "<CMAKE_AR> qcS <TARGET> <LINK_FLAGS> <OBJECTS>")
  set(CMAKE_CXX_ARCHIVE_APPEND "<CMAKE_AR> qS <TARGET> <LINK_FLAGS> <OBJECTS>")
  set(CMAKE_CXX_ARCHIVE_FINISH "")
endif()

# Puts the static libraries of the project that `target` is linked with, near and far, into the list `result`.
function(loftbay_libraries_behind target result)
  set(found ${${result}})
  get_target_property(kind ${target} TYPE)
  set(property LINK_LIBRARIES)
  if(kind STREQUAL INTERFACE_LIBRARY)
    set(property INTERFACE_LINK_LIBRARIES)
  endif()
  get_target_property(libraries ${target} ${property})
  foreach(library ${libraries})
    if(TARGET ${library} AND NOT library IN_LIST found)
      get_target_property(kind ${library} TYPE)
      get_target_property(imported ${library} IMPORTED)
      if(kind STREQUAL STATIC_LIBRARY AND NOT imported)
        list(APPEND found ${library})
      endif()
      if(NOT imported)
        loftbay_libraries_behind(${library} found)
      endif()
    endif()
  endforeach()
  set(${result} ${found} PARENT_SCOPE)
endfunction()

# A library of the tests that is optimised and not sanitized: what it does would be most of the time that its tests take.
function(loftbay_test_measures name)
  add_library(${name} STATIC ${ARGN})
  set_target_properties(${name} PROPERTIES LOFTBAY_OPTIMISED ON)
  if(LOFTBAY_SANITIZE)
    target_compile_options(${name} PRIVATE -fno-sanitize=all -O2)
  endif()
endfunction()

# An inline function that tests and production code use is in both, and the linker keeps the first. That must be the
# production code's: the tests' are not optimised and have no sanitizers. So all objects of the libraries that `name` and the
# targets after it are linked with are named before the tests', then the tests' optimised libraries.
function(loftbay_production_first name)
  set(libraries)
  foreach(target ${name} ${ARGN})
    loftbay_libraries_behind(${target} libraries)
  endforeach()
  set(files)
  set(measures)
  foreach(library ${libraries})
    get_target_property(folder ${library} SOURCE_DIR)
    get_target_property(is_optimised ${library} LOFTBAY_OPTIMISED)
    if(is_optimised)
      string(APPEND measures " \"$<TARGET_FILE:${library}>\"")
    elseif(NOT folder MATCHES "^${PROJECT_SOURCE_DIR}/tests")
      string(APPEND files " \"$<TARGET_FILE:${library}>\"")
    endif()
  endforeach()
  target_link_options(${name} BEFORE PRIVATE "SHELL:-Wl,--whole-archive${files}${measures} -Wl,--no-whole-archive")
endfunction()

function(loftbay_compiled_as_tests name)
  target_compile_options(${name} PRIVATE -O0)
  set_target_properties(${name} PROPERTIES LOFTBAY_UNOPTIMISED ON)
  target_precompile_headers(${name} REUSE_FROM loftbay_precompiled_tests)
endfunction()

# Makes the target `name`: a program, or with LOFTBAY_ONLY_TEST_OBJECTS an archive of what it is linked from.
function(loftbay_test_sources name)
  if(LOFTBAY_SHARED_TEST_OBJECTS)
    set(archive ${LOFTBAY_TEST_OBJECTS}/lib/lib${name}.a)
    add_executable(${name} ${PROJECT_SOURCE_DIR}/tests/support/linked_tests.cpp)
    # One after the other (a terminal of its own): two builds must not run in one folder at the same time. That keeps one
    # processor busy at the end, so ./test has the target test_sources of that folder built before.
    add_custom_target(${name}_objects COMMENT "Compiling the sources of ${name}"
      COMMAND ${CMAKE_COMMAND} --build ${LOFTBAY_TEST_OBJECTS} --target ${name}
      BYPRODUCTS ${archive} USES_TERMINAL VERBATIM)
    add_dependencies(${name} ${name}_objects)
    set_target_properties(${name} PROPERTIES UNITY_BUILD OFF LINK_DEPENDS ${archive} DISABLE_PRECOMPILE_HEADERS ON)
    target_link_options(${name} PRIVATE LINKER:--whole-archive ${archive} LINKER:--no-whole-archive)
    return()
  endif()
  if(LOFTBAY_ONLY_TEST_OBJECTS)
    add_library(${name} STATIC ${ARGN})
    set_target_properties(${name} PROPERTIES OPTIMIZE_DEPENDENCIES ON ARCHIVE_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/lib)
    if(NOT TARGET test_sources)
      add_custom_target(test_sources)
    endif()
    add_dependencies(test_sources ${name})
  else()
    add_executable(${name} ${ARGN})
  endif()
  loftbay_compiled_as_tests(${name})
endfunction()

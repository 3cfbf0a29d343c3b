# Warnings, sanitizers and the function that every library and program of the project is made with.

add_library(loftbay_options INTERFACE)
target_include_directories(loftbay_options INTERFACE ${PROJECT_SOURCE_DIR})
target_compile_options(loftbay_options INTERFACE
  -Wall -Wextra -Wpedantic -Wconversion -Wsign-conversion -Wshadow -Wnon-virtual-dtor -Wold-style-cast
  -Woverloaded-virtual -Werror)
# Results must not depend on the host: no fused multiply-add, no excess precision.
target_compile_options(loftbay_options INTERFACE -ffp-contract=off)
if(WIN32)
  target_compile_definitions(loftbay_options INTERFACE UNICODE _UNICODE NOMINMAX WIN32_LEAN_AND_MEAN
    _WIN32_WINNT=0x0A00 __USE_MINGW_ANSI_STDIO=1)
  target_link_options(loftbay_options INTERFACE -static)
endif()
include(${CMAKE_CURRENT_LIST_DIR}/hardening.cmake)
# Tests are linked again and again, which LLVM's linker does in a third of the time; what is shipped for Linux keeps
# the compiler's own.
find_program(LOFTBAY_LLD ld.lld)
if(LOFTBAY_LLD AND NOT WIN32)
  set(LOFTBAY_QUICK_LINK -fuse-ld=lld)
endif()
option(LOFTBAY_TRACE "Decoders print which check failed (g++ only)" OFF)
if(LOFTBAY_TRACE)
  target_compile_definitions(loftbay_options INTERFACE LOFTBAY_TRACE)
endif()
if(LOFTBAY_SANITIZE)
  target_link_options(loftbay_options INTERFACE ${LOFTBAY_QUICK_LINK})
  target_compile_options(loftbay_options INTERFACE -fsanitize=address,undefined -fno-sanitize-recover=all
    -fno-omit-frame-pointer)
  target_link_options(loftbay_options INTERFACE -fsanitize=address,undefined)
endif()
if(LOFTBAY_FUZZ)
  # Coverage of the libraries too, else the engine is blind behind the target's own file. The fuzz targets add
  # the engine.
  target_compile_options(loftbay_options INTERFACE -fsanitize=fuzzer-no-link)
endif()

function(loftbay_library name)
  add_library(${name} STATIC ${ARGN})
  target_link_libraries(${name} PUBLIC loftbay_options)
  target_precompile_headers(${name} REUSE_FROM loftbay_precompiled)
endfunction()

function(loftbay_executable name)
  add_executable(${name} ${ARGN})
  target_link_libraries(${name} PRIVATE loftbay_options)
  target_precompile_headers(${name} REUSE_FROM loftbay_precompiled)
endfunction()

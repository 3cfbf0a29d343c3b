# Debian's GNU ld takes minutes for programs of many small sections, as tests have them: it looks sections up one by
# one. LLVM's linker takes under a second for the same, so it is used where it is there, through clang++, because
# mingw-w64's own driver accepts no other linker than its own.

find_program(LOFTBAY_CLANGXX clang++)
find_program(LOFTBAY_LLD ld.lld)
if(NOT LOFTBAY_CLANGXX OR NOT LOFTBAY_LLD)
  return()
endif()
# The compiler's own runtime: that of posix threads, of which clang++ would find the other kind first.
execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=libstdc++.a
  OUTPUT_VARIABLE runtime OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
get_filename_component(runtime ${runtime} DIRECTORY)
set(CMAKE_CXX_LINK_EXECUTABLE "${LOFTBAY_CLANGXX} --target=x86_64-w64-windows-gnu -fuse-ld=lld -L${runtime} \
<LINK_FLAGS> <OBJECTS> -o <TARGET> <LINK_LIBRARIES> -Wl,-Bstatic -lwinpthread")

# clang++ with the headers of Debian's mingw-w64 (posix threads): objects for the programs that mingw-w64's g++ compiles.
# At -O0 it takes less than half of g++'s time. Objects only: the other build links them.
include(${CMAKE_CURRENT_LIST_DIR}/mingw-w64.cmake)
execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=include
  OUTPUT_VARIABLE headers OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
set(CMAKE_C_COMPILER clang)
set(CMAKE_CXX_COMPILER clang++)
set(CMAKE_C_COMPILER_TARGET x86_64-w64-windows-gnu)
set(CMAKE_CXX_COMPILER_TARGET x86_64-w64-windows-gnu)
set(CMAKE_TRY_COMPILE_TARGET_TYPE STATIC_LIBRARY)
# Thread-local variables as g++ has them here, and g++'s own standard library, as it was compiled (it compares types in
# one place).
set(CMAKE_CXX_FLAGS_INIT
  "-femulated-tls -D__GXX_TYPEINFO_EQUALITY_INLINE=0 -stdlib++-isystem ${headers}/c++ -stdlib++-isystem ${headers}/c++/x86_64-w64-mingw32")

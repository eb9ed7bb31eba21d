# What every target is compiled with: warnings are errors, and the sanitizers when asked for.
add_library(tessarin_options INTERFACE)
target_compile_options(tessarin_options INTERFACE
  -Wall -Wextra -Wpedantic -Werror -Wconversion -Wold-style-cast -Wcast-qual
  -Wnon-virtual-dtor -Woverloaded-virtual -Wimplicit-fallthrough)
# Where files are compiled together one file's names are shadowed by another's.
target_compile_options(tessarin_options INTERFACE
  $<$<NOT:$<BOOL:$<TARGET_PROPERTY:UNITY_BUILD>>>:-Wshadow>)
# gcc 12 warns about texts put together with "+" when it optimises fully (its bug 105651). Only
# there, because clang-tidy does not know the option.
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
  target_compile_options(tessarin_options INTERFACE $<$<CONFIG:Release>:-Wno-restrict>)
endif()
if(TESSARIN_FUZZ)
  target_compile_options(tessarin_options INTERFACE -fsanitize=fuzzer-no-link)
endif()
if(TESSARIN_SANITIZE)
  # gcc warns about instrumented library code without reason.
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    target_compile_options(tessarin_options INTERFACE -Wno-maybe-uninitialized)
  endif()
  target_compile_options(tessarin_options INTERFACE
    -fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_link_options(tessarin_options INTERFACE -fsanitize=address,undefined)
endif()

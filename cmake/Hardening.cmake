# What makes a fault in a program that reads foreign files harder to use: for everything below the
# folder that includes this. The sanitizers bring checks of their own, which these would disturb.
if(TESSARIN_SANITIZE OR TESSARIN_FUZZ)
  return()
endif()
include(CheckCXXCompilerFlag)

# Level 2: older libraries warn about 3. It works only in optimised code.
add_compile_options("$<$<NOT:$<CONFIG:Debug>>:SHELL:-U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2>")
# The last one for Intel's processors only, hence the question.
foreach(option IN ITEMS -fstack-protector-strong -fstack-clash-protection -fcf-protection)
  string(MAKE_C_IDENTIFIER "TESSARIN_HAS${option}" isKnown)
  check_cxx_compiler_flag(${option} ${isKnown})
  if(${isKnown})
    add_compile_options(${option})
  endif()
endforeach()

# Programs at random addresses. Not CMake's own property, which compiles libraries for being
# shared, and so slower; ours never are.
add_compile_options(-fPIE)
# All addresses of libraries are found at the start and cannot be written to after that. Behind it a
# target's own -static-pie wins.
add_link_options(-pie -Wl,-z,relro,-z,now)

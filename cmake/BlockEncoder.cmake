# tessarin_block_encoder(TARGET SOURCES...): an encoder whose kernel is built twice from one source,
# slicePortable.cpp for any processor and sliceAvx2.cpp for those with AVX2. Its bits must not depend
# on the build, so products and sums are never fused.
function(tessarin_block_encoder target)
  add_library(${target} STATIC ${ARGN} slicePortable.cpp)
  target_include_directories(${target} PUBLIC ${PROJECT_SOURCE_DIR}/src)
  target_link_libraries(${target} PUBLIC tessarin_blocks PRIVATE tessarin_options)
  target_link_libraries(tessarin_tools INTERFACE ${target})
  set(kernelOptions -O3 -ffp-contract=off -Wno-psabi)
  set_source_files_properties(slicePortable.cpp PROPERTIES COMPILE_OPTIONS "${kernelOptions}")
  if(CMAKE_SYSTEM_PROCESSOR MATCHES "x86_64|AMD64")
    target_sources(${target} PRIVATE sliceAvx2.cpp)
    target_compile_definitions(${target} PRIVATE TESSARIN_AVX2_BUILD)
    set_source_files_properties(sliceAvx2.cpp PROPERTIES COMPILE_OPTIONS
      "${kernelOptions};-mavx2;-mbmi;-mbmi2;-mlzcnt")
  endif()
endfunction()

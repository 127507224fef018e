# The fuzz targets' sources and the stand-in communication library, shared by
# fuzz/CMakeLists.txt (the libFuzzer programs) and tests/reliability (the
# replay programs that run the corpus in every test run). Both may be part of
# one build, so every target is defined once.
set(DVFUZZ_DIR ${CMAKE_CURRENT_LIST_DIR})
set(DVFUZZ_TARGETS report settings ini answer)

# liblinkora.so.1 whose answers and reports the program steers; programs
# link it so that the library's dlopen finds this copy.
if(NOT TARGET dv_fakelinkora)
  add_library(dv_fakelinkora SHARED ${DVFUZZ_DIR}/fakelinkora.cpp)
  target_include_directories(dv_fakelinkora PUBLIC ${DVFUZZ_DIR})
  target_compile_options(dv_fakelinkora PRIVATE ${DVLOGICS_WARNINGS})
  target_link_libraries(dv_fakelinkora PRIVATE Threads::Threads)
  set_target_properties(dv_fakelinkora PROPERTIES
    OUTPUT_NAME linkora SUFFIX ".so.1" PREFIX "lib" NO_SONAME ON
    LIBRARY_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/fakelink
    CXX_VISIBILITY_PRESET hidden)
  target_link_options(dv_fakelinkora PRIVATE -Wl,-soname,liblinkora.so.1)
endif()

# Sources of one target, with what it links besides the library.
function(dvfuzz_target_sources target out_sources out_libs)
  set(${out_sources} ${DVFUZZ_DIR}/fuzz_${target}.cpp ${DVFUZZ_DIR}/fuzzsupport.cpp PARENT_SCOPE)
  if(target STREQUAL "answer")
    set(${out_libs} dv_fakelinkora PARENT_SCOPE)
  else()
    set(${out_libs} "" PARENT_SCOPE)
  endif()
endfunction()

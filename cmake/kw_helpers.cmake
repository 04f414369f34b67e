# Folder conventions shared by every subsystem:
#   <dir>/*.cpp            sources of the target the folder belongs to
#   <dir>/internal/*.cpp   private sources of the same target (their headers are not installed)
#   <dir>/*_test.cpp       unit tests, built into one GoogleTest program "<dir>_test"
# New files are picked up by re-running the configure step (CONFIGURE_DEPENDS).

function(kw_folder_sources out dir)
  file(GLOB all CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/${dir}/*.cpp
       ${CMAKE_SOURCE_DIR}/${dir}/internal/*.cpp)
  list(FILTER all EXCLUDE REGEX "_test\\.cpp$")
  set(${out} ${all} PARENT_SCOPE)
endfunction()

function(kw_folder_tests out dir)
  file(GLOB all CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/${dir}/*_test.cpp)
  set(${out} ${all} PARENT_SCOPE)
endfunction()

# Adds one GoogleTest program made of the given sources and registers it with CTest.
function(kw_add_test_program name)
  cmake_parse_arguments(T "" "" "SOURCES;LIBS" ${ARGN})
  if(NOT KW_BUILD_TESTS OR NOT T_SOURCES)
    return()
  endif()
  add_executable(${name} ${T_SOURCES})
  target_link_libraries(${name} PRIVATE ${T_LIBS} GTest::gtest GTest::gmock GTest::gtest_main)
  add_test(NAME ${name} COMMAND ${name} --gtest_brief=1)
  set_tests_properties(${name} PROPERTIES ENVIRONMENT "ASAN_OPTIONS=detect_leaks=1;UBSAN_OPTIONS=print_stacktrace=1")
endfunction()

# Adds the folder's sources to a library target and its tests as "<dir>_test".
function(kw_library_folder target dir)
  kw_folder_sources(srcs ${dir})
  if(srcs)
    target_sources(${target} PRIVATE ${srcs})
  endif()
  kw_library_folder_tests(${dir} ${dir} ${target})
endfunction()

function(kw_library_folder_tests name dir target)
  kw_folder_tests(tests ${dir})
  kw_add_test_program(${name}_test SOURCES ${tests} LIBS ${target})
endfunction()

# Folder conventions shared by every subsystem:
#   <dir>/*.cpp            sources of the target the folder belongs to
#   <dir>/internal/*.cpp   private sources of the same target (their headers are not installed)
#   <dir>/*_test.cpp       unit tests (and <dir>/internal/*_test.cpp), built into one GoogleTest
#                          program "<dir>_test"
# Any other subfolder holding sources must be named where the folder is built (ELSEWHERE), or
# configuration fails: a new folder is never silently left out of the build and the tests.
# New files are picked up by re-running the configure step (CONFIGURE_DEPENDS).

# Fails configuration when a subfolder of <dir> other than internal/ holds C or C++ sources
# and is not one of the ELSEWHERE folders (paths relative to <dir>, built by their own rule).
function(kw_check_subfolders dir)
  cmake_parse_arguments(C "" "" "ELSEWHERE" ${ARGN})
  set(root ${CMAKE_SOURCE_DIR}/${dir})
  file(GLOB_RECURSE all CONFIGURE_DEPENDS RELATIVE ${root} ${root}/*.cpp ${root}/*.cc ${root}/*.c)
  foreach(file ${all})
    get_filename_component(sub ${file} DIRECTORY)
    set(listed FALSE)
    if(sub STREQUAL "" OR sub STREQUAL "internal")
      set(listed TRUE)
    endif()
    foreach(other ${C_ELSEWHERE})
      if(sub STREQUAL other OR sub MATCHES "^${other}/")
        set(listed TRUE)
      endif()
    endforeach()
    if(NOT listed)
      message(FATAL_ERROR "${dir}/${sub} holds sources (${dir}/${file}) that no rule builds: "
                          "list the folder where ${dir} is built")
    endif()
  endforeach()
endfunction()

# kw_folder_sources(<out> <dir> [ELSEWHERE <subfolder>...]): the folder's sources, tests left
# out, after checking that no other subfolder holds sources.
function(kw_folder_sources out dir)
  kw_check_subfolders(${dir} ${ARGN})
  file(GLOB all CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/${dir}/*.cpp
       ${CMAKE_SOURCE_DIR}/${dir}/internal/*.cpp)
  list(FILTER all EXCLUDE REGEX "_test\\.cpp$")
  set(${out} ${all} PARENT_SCOPE)
endfunction()

function(kw_folder_tests out dir)
  file(GLOB all CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/${dir}/*_test.cpp
       ${CMAKE_SOURCE_DIR}/${dir}/internal/*_test.cpp)
  set(${out} ${all} PARENT_SCOPE)
endfunction()

# Adds one GoogleTest program made of the given sources and registers it with CTest. Every test
# program links the shared test helpers (kwtesting, common/testing/).
function(kw_add_test_program name)
  cmake_parse_arguments(T "" "" "SOURCES;LIBS" ${ARGN})
  if(NOT KW_BUILD_TESTS OR NOT T_SOURCES)
    return()
  endif()
  add_executable(${name} ${T_SOURCES})
  target_link_libraries(${name} PRIVATE ${T_LIBS} kwtesting GTest::gtest GTest::gmock
                                        GTest::gtest_main)
  add_test(NAME ${name} COMMAND ${name} --gtest_brief=1)
  set_tests_properties(${name} PROPERTIES ENVIRONMENT "ASAN_OPTIONS=detect_leaks=1;UBSAN_OPTIONS=print_stacktrace=1")
endfunction()

# kw_add_alloc_meter(<program>): gives a test, fuzz or replay program the allocation meter
# (common/testing/AllocMeter.h). The meter replaces the global operator new, of which a program
# may hold only one, so it is a source of the programs that measure and never part of kwtesting,
# which every program links. Does nothing when the program is not built.
function(kw_add_alloc_meter name)
  if(TARGET ${name})
    target_sources(${name} PRIVATE ${CMAKE_SOURCE_DIR}/common/testing/AllocMeter.cpp)
  endif()
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

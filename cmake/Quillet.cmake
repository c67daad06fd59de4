# SPDX-License-Identifier: GPL-3.0-or-later
# One place for warnings, sanitizers and the shape of a library, a program and a test.

add_library(quillet_options INTERFACE)
target_compile_options(quillet_options INTERFACE
  -Wall -Wextra -Wpedantic -Wconversion -Wshadow)
if(NOT QUILLET_FUZZ)  # the fuzzer's compiler warns of other things, e.g. in macros of libraries
  target_compile_options(quillet_options INTERFACE -Werror)
endif()
if(CMAKE_CXX_COMPILER_ID STREQUAL GNU AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
  # This compiler sees overlapping copies in every optimised "text" + std::string.
  target_compile_options(quillet_options INTERFACE -Wno-restrict)
endif()
target_include_directories(quillet_options INTERFACE ${CMAKE_SOURCE_DIR})

# What is shipped reads what strangers have written: the library checks the bounds that the compiler
# can tell, and no table of addresses stays writable. Sanitizers do both in their own way.
if(CMAKE_BUILD_TYPE STREQUAL Release AND NOT QUILLET_SANITIZE)
  add_compile_options(-U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2 -fstack-protector-strong)
  add_link_options(-Wl,-z,relro,-z,now)
endif()

if(CMAKE_CXX_COMPILER_ID STREQUAL GNU)
  add_compile_options(-fpch-preprocess)  # the compiler cache then knows precompiled headers
endif()

if(QUILLET_SANITIZE)
  add_compile_options(-fsanitize=${QUILLET_SANITIZE} -fno-sanitize-recover=all
                      -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${QUILLET_SANITIZE})
endif()

# quillet_library(name SOURCES ... USES ...): a static library of one folder. What it may include and
# link stands in scripts/layers.txt; the linker itself would let an upward include pass.
function(quillet_library name)
  cmake_parse_arguments(ARG "" "" "SOURCES;USES" ${ARGN})
  add_library(${name} STATIC ${ARG_SOURCES})
  target_link_libraries(${name} PUBLIC ${ARG_USES} PRIVATE quillet_options)
  target_include_directories(${name} PUBLIC ${CMAKE_SOURCE_DIR})
endfunction()

function(quillet_program name)
  cmake_parse_arguments(ARG "" "" "SOURCES;USES" ${ARGN})
  add_executable(${name} ${ARG_SOURCES})
  target_link_libraries(${name} PRIVATE ${ARG_USES} quillet_options)
endfunction()

# quillet_label_test(test KIND NEEDS target...): the labels that ./test chooses by, which are the kind
# (unit, scenario, qt, real) and the folder below tests/, and for each of the two a target that builds
# what such tests run.
function(quillet_label_test test kind)
  cmake_parse_arguments(ARG "" "" "NEEDS" ${ARGN})
  file(RELATIVE_PATH folder ${CMAKE_SOURCE_DIR}/tests ${CMAKE_CURRENT_SOURCE_DIR})
  set_property(TEST ${test} APPEND PROPERTY LABELS ${kind} folder-${folder})
  foreach(group kind-${kind} folder-${folder})
    if(NOT TARGET tests-${group})
      add_custom_target(tests-${group})
    endif()
    if(ARG_NEEDS)
      add_dependencies(tests-${group} ${ARG_NEEDS})
    endif()
  endforeach()
endfunction()

# quillet_test(name SOURCES ... USES ...): one GoogleTest program, run as one ctest entry.
function(quillet_test name)
  cmake_parse_arguments(ARG "" "TIMEOUT" "SOURCES;USES" ${ARGN})
  if(NOT ARG_TIMEOUT)
    set(ARG_TIMEOUT 300)
  endif()
  add_executable(${name} ${ARG_SOURCES})
  target_link_libraries(${name} PRIVATE ${ARG_USES} quillet_options GTest::gmock GTest::gtest_main)
  target_precompile_headers(${name} REUSE_FROM quillet_test_headers)
  add_test(NAME ${name} COMMAND ${name})
  set_tests_properties(${name} PROPERTIES TIMEOUT ${ARG_TIMEOUT})
  quillet_label_test(${name} unit NEEDS ${name})
endfunction()

# quillet_optimize(SOURCES...): sources of this folder's tests that take most of the time when they
# are not optimized: the slow and obvious ways that the program is compared with.
function(quillet_optimize)
  set_source_files_properties(${ARGN} PROPERTIES
    COMPILE_OPTIONS -O2 SKIP_PRECOMPILE_HEADERS ON)
endfunction()

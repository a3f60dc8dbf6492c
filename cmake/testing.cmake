include(CTest)
if(BUILD_TESTING)
  find_package(GTest REQUIRED)
  include(GoogleTest)
endif()

# What is tested is optimized as it ships; the tests themselves only have to compile fast.
set(CDPFI_TEST_OPTIONS $<$<CONFIG:Release>:-U_FORTIFY_SOURCE> $<$<CONFIG:Release>:-O0>)

# Headers that most tests include are compiled once instead of with each of them. Every source names what it includes all
# the same: clang builds without, so a line that is missing is found.
if(BUILD_TESTING AND CMAKE_CXX_COMPILER_ID STREQUAL GNU)
  file(CONFIGURE OUTPUT ${PROJECT_BINARY_DIR}/test_headers.cpp CONTENT "int main() {}\n")
  add_executable(cdpfi_test_headers ${PROJECT_BINARY_DIR}/test_headers.cpp)
  target_link_libraries(cdpfi_test_headers PRIVATE GTest::gmock)
  target_compile_options(cdpfi_test_headers PRIVATE ${CDPFI_TEST_OPTIONS})
  target_precompile_headers(
    cdpfi_test_headers
    PRIVATE <algorithm> <chrono> <filesystem> <fstream> <functional> <map> <memory> <mutex> <optional> <set> <sstream>
            <stdexcept> <string> <string_view> <system_error> <thread> <utility> <vector> <gmock/gmock.h> <gtest/gtest.h>)
endif()

# cdpfi_use_test_headers(TARGET): a program of tests uses them. A target whose options differ is refused (-Winvalid-pch).
function(cdpfi_use_test_headers target)
  if(NOT TARGET cdpfi_test_headers)
    return()
  endif()
  target_compile_options(${target} PRIVATE $<$<COMPILE_LANGUAGE:CXX>:-Winvalid-pch>)
  target_precompile_headers(${target} REUSE_FROM cdpfi_test_headers)
  get_target_property(sources ${target} SOURCES)
  list(FILTER sources INCLUDE REGEX "\\.c$")
  set_source_files_properties(${sources} PROPERTIES SKIP_PRECOMPILE_HEADERS ON)
endfunction()

# cdpfi_add_tests(NAME SOURCES... LIBRARIES... [DEPENDS...] [DEFINITIONS...] [TIMEOUT SECONDS] [PROPERTIES...]
# [AT_LENGTH FILTER]): one GoogleTest program, one CTest entry a test, with these properties. Under a sanitizer the tests of
# the filter take minutes, and are for script/test --all.
function(cdpfi_add_tests name)
  if(NOT BUILD_TESTING)
    return()
  endif()
  cmake_parse_arguments(arg "" "TIMEOUT;AT_LENGTH" "SOURCES;LIBRARIES;DEPENDS;DEFINITIONS;PROPERTIES" ${ARGN})
  if(NOT arg_TIMEOUT)
    set(arg_TIMEOUT 120)
  endif()
  if(CDPFI_SANITIZE)
    math(EXPR arg_TIMEOUT "5 * ${arg_TIMEOUT}") # what sanitizers see to takes its time
  endif()
  add_executable(${name} ${arg_SOURCES})
  target_link_libraries(${name} PRIVATE ${arg_LIBRARIES} GTest::gmock GTest::gtest_main)
  target_compile_definitions(${name} PRIVATE ${arg_DEFINITIONS})
  target_compile_options(${name} PRIVATE ${CDPFI_TEST_OPTIONS})
  cdpfi_use_test_headers(${name})
  set_target_properties(${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/tests)
  if(arg_DEPENDS)
    add_dependencies(${name} ${arg_DEPENDS})
  endif()
  set(properties TIMEOUT ${arg_TIMEOUT} ${arg_PROPERTIES})
  if(arg_AT_LENGTH AND CDPFI_SANITIZE)
    gtest_discover_tests(${name} TEST_FILTER "${arg_AT_LENGTH}" TEST_LIST ${name}_at_length
                         PROPERTIES ${properties} LABELS at-length DISCOVERY_TIMEOUT 60)
    set(rest TEST_FILTER "-${arg_AT_LENGTH}")
  endif()
  gtest_discover_tests(${name} ${rest} PROPERTIES ${properties} DISCOVERY_TIMEOUT 60)
endfunction()

# cdpfi_add_test_support(NAME SOURCES... LIBRARIES... [DEFINITIONS...]): what several test programs share, compiled once.
# Objects, so that functions that stand before the libraries' own are found first.
function(cdpfi_add_test_support name)
  if(NOT BUILD_TESTING)
    return()
  endif()
  cmake_parse_arguments(arg "" "" "SOURCES;LIBRARIES;DEFINITIONS" ${ARGN})
  add_library(${name} OBJECT ${arg_SOURCES})
  target_link_libraries(${name} PUBLIC ${arg_LIBRARIES} GTest::gmock)
  target_compile_definitions(${name} PRIVATE ${arg_DEFINITIONS})
  target_compile_options(${name} PRIVATE ${CDPFI_TEST_OPTIONS})
endfunction()

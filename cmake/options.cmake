# Language level, warnings, visibility and where things are put, for every target of the tree.
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_C_STANDARD 11)
set(CMAKE_C_STANDARD_REQUIRED ON)
set(CMAKE_C_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_C_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
if(NOT CMAKE_BUILD_TYPE)
  set(CMAKE_BUILD_TYPE Release)
endif()
set(CMAKE_CXX_FLAGS_RELEASE "-O2 -DNDEBUG")
set(CMAKE_C_FLAGS_RELEASE "-O2 -DNDEBUG")

add_compile_options(-Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wcast-qual -Wundef -Wformat=2
                    $<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor> $<$<COMPILE_LANGUAGE:CXX>:-Wold-style-cast>)
# Source paths in trace lines and debug data are relative to the tree, wherever it was built.
add_compile_options(-ffile-prefix-map=${PROJECT_SOURCE_DIR}/=)
if(CMAKE_CXX_COMPILER_ID STREQUAL GNU AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
  # g++ 12 warns of overlapping and endless copies inside inlined std::string and ACE strings; no source is at fault.
  add_compile_options($<$<COMPILE_LANGUAGE:CXX>:-Wno-restrict>
                      $<$<AND:$<COMPILE_LANGUAGE:CXX>,$<CONFIG:Release>>:-Wno-stringop-overflow>)
endif()
add_compile_options(-fstack-protector-strong "$<$<CONFIG:Release>:-D_FORTIFY_SOURCE=2>")
add_link_options(-Wl,-z,defs,-z,relro,-z,now)

set(CDPFI_SANITIZE "" CACHE STRING "Sanitizers to build with, as -fsanitize takes them")
if(CDPFI_SANITIZE)
  add_compile_options(-fsanitize=${CDPFI_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${CDPFI_SANITIZE})
  if(CMAKE_CXX_COMPILER_ID STREQUAL GNU)
    # Instrumented code hides from the compiler what is written where: it warns of std::regex's own members.
    add_compile_options($<$<COMPILE_LANGUAGE:CXX>:-Wno-maybe-uninitialized>)
  endif()
  if(CDPFI_SANITIZE MATCHES address)
    add_library(cdpfi_sanitizer_defaults OBJECT ${CMAKE_CURRENT_LIST_DIR}/sanitizer_defaults.c)
    # Programs that go without a sanitizer have it, too.
    target_compile_options(cdpfi_sanitizer_defaults PRIVATE -fno-sanitize=all)
    link_libraries($<$<STREQUAL:$<TARGET_PROPERTY:TYPE>,EXECUTABLE>:$<TARGET_OBJECTS:cdpfi_sanitizer_defaults>>)
  endif()
  if(CMAKE_CXX_COMPILER_ID MATCHES Clang)
    # clang leaves the sanitizer runtime to the executable.
    add_link_options(-Wl,-z,undefs)
  endif()
endif()
option(CDPFI_ENGINES "Test the appliance's engine ceph too, on a cluster that the tests start" OFF)
option(CDPFI_COVERAGE "Instrument for gcov" OFF)
if(CDPFI_COVERAGE)
  add_compile_options(--coverage -fprofile-update=atomic)
  add_link_options(--coverage)
endif()

# The build tree has the shape of the installed tree, so that what is found relative to the runtime is found in both.
include(GNUInstallDirs)
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/bin)
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/${CMAKE_INSTALL_LIBDIR})
set(CDPFI_PROVIDER_DIR ${CMAKE_INSTALL_LIBDIR}/obzx/providers)
set(CDPFI_CATALOG_DIR ${CMAKE_INSTALL_DATADIR}/obzx/catalogs)
set(CDPFI_ENGINE_DIR ${CMAKE_INSTALL_LIBDIR}/obzx/engines)
set(CDPFI_INSPECTOR_DIR ${CMAKE_INSTALL_LIBEXECDIR}/obzx)
set(CMAKE_INSTALL_RPATH "$ORIGIN/../${CMAKE_INSTALL_LIBDIR}")

# Includes are rooted at the top of the tree, so that each include line names the layer that it reaches.
include_directories(${PROJECT_SOURCE_DIR})

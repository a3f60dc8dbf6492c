# The entry points of a provider, read from the list in the public header so that they are named once.
set(CDPFI_ENTRY_POINT_HEADER ${PROJECT_SOURCE_DIR}/framework/include/obz_entry_points.h)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${CDPFI_ENTRY_POINT_HEADER})
file(READ ${CDPFI_ENTRY_POINT_HEADER} header)
string(REGEX MATCHALL "[^_]X\\([A-Za-z_]+\\)" entries "${header}")
string(REGEX REPLACE "[^_;]X\\(([A-Za-z_]+)\\)" "\\1" CDPFI_ENTRY_POINTS "${entries}")
list(LENGTH CDPFI_ENTRY_POINTS count)
string(REGEX MATCH "OBZX_FI_ENTRY_POINT_COUNT = ([0-9]+)" expected "${header}")
if(NOT count EQUAL CMAKE_MATCH_1)
  message(FATAL_ERROR "${CDPFI_ENTRY_POINT_HEADER} lists ${count} entry points, expected ${CMAKE_MATCH_1}")
endif()

# cdpfi_add_provider(TARGET NAME [NO_INSTALL] SOURCES...): lib<NAME>.so, the provider <NAME>, in the folder where hosts look
# for providers. It exports the entry points <NAME>_fi_pgn_* and nothing else, and finds the runtime relative to itself.
# Objects that come in through libraries belong to fi_glue's users, too: link those libraries to it.
function(cdpfi_add_provider target name)
  cmake_parse_arguments(arg "NO_INSTALL" "" "" ${ARGN})
  set(script ${CMAKE_CURRENT_BINARY_DIR}/${target}.map)
  list(TRANSFORM CDPFI_ENTRY_POINTS PREPEND "    ${name}_fi_pgn_" OUTPUT_VARIABLE exports)
  list(JOIN exports ";\n" exports)
  file(CONFIGURE OUTPUT ${script} CONTENT "{\n  global:\n${exports};\n  local:\n    *;\n};\n" @ONLY)

  add_library(${target} MODULE ${arg_UNPARSED_ARGUMENTS})
  target_link_libraries(${target} PRIVATE fi_glue)
  target_link_options(${target} PRIVATE -Wl,--version-script=${script})
  set_target_properties(
    ${target}
    PROPERTIES OUTPUT_NAME ${name}
               LIBRARY_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/${CDPFI_PROVIDER_DIR}
               LINK_DEPENDS ${script}
               BUILD_WITH_INSTALL_RPATH ON
               INSTALL_RPATH "$ORIGIN/../../")
  if(NOT arg_NO_INSTALL)
    install(TARGETS ${target} LIBRARY DESTINATION ${CDPFI_PROVIDER_DIR} COMPONENT provider)
  endif()
endfunction()

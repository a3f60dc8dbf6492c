# Tests of the plug-in side of the runtime: messages, private data, sessions, default operations.
cdpfi_add_catalogs(pdktest_catalogs pdktest ${CMAKE_CURRENT_SOURCE_DIR}/tests/catalogs/pdktest NO_INSTALL)
cdpfi_add_catalogs(pdktest_malformed_catalogs pdktest_malformed
                   ${CMAKE_CURRENT_SOURCE_DIR}/tests/catalogs/pdktest_malformed NO_INSTALL)
# A description that is well-formed and one byte too long.
string(REPEAT " " 1048545 blanks)
file(GENERATE OUTPUT ${PROJECT_BINARY_DIR}/${CDPFI_CATALOG_DIR}/pdktest_large/parameters.xml
     CONTENT "<parameters>${blanks}<x/></parameters>\n\n\n")

cdpfi_add_tests(framework_plugin_test
  SOURCES
    tests/plugin_test_support.cpp
    tests/default_calls.cpp
    tests/catalog_test.cpp
    tests/default_operations_test.cpp
    tests/error_manager_test.cpp
    tests/host_interface_document_test.cpp
    tests/interposer_test.cpp
    tests/locale_name_test.cpp
    tests/message_test.cpp
    tests/parameter_description_test.cpp
    tests/plugin_base_test.cpp
    tests/plugin_errors_test.cpp
    tests/private_data_test.cpp
    tests/session_test.cpp
    tests/snapshot_handle_test.cpp
    # Inside the library, tested on their own.
    src/locale_name.cpp
    src/parameter_parser.cpp
  LIBRARIES obzx_pdk PkgConfig::icu_uc PkgConfig::xerces_c Threads::Threads
  DEPENDS pdktest_catalogs pdktest_malformed_catalogs
  DEFINITIONS CDPFI_SOURCE_DIR="${PROJECT_SOURCE_DIR}")

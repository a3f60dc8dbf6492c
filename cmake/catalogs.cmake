# cdpfi_add_catalogs(TARGET COMPONENT FOLDER [NO_INSTALL]): compiles FOLDER/<locale>.txt to ICU resource bundles in the
# shape of the installed tree, puts FOLDER/parameters.xml (the description of the component's configuration values)
# beside them where there is one, and installs both.
function(cdpfi_add_catalogs target component folder)
  cmake_parse_arguments(arg "NO_INSTALL" "" "" ${ARGN})
  set(output ${PROJECT_BINARY_DIR}/${CDPFI_CATALOG_DIR}/${component})
  file(GLOB sources CONFIGURE_DEPENDS ${folder}/*.txt)
  file(GLOB descriptions CONFIGURE_DEPENDS ${folder}/parameters.xml)
  set(files)
  foreach(source IN LISTS sources)
    get_filename_component(locale ${source} NAME_WE)
    add_custom_command(
      OUTPUT ${output}/${locale}.res
      COMMAND ${CMAKE_COMMAND} -E make_directory ${output}
      COMMAND ${GENRB} --quiet --encoding UTF-8 --destdir ${output} ${source}
      DEPENDS ${source}
      VERBATIM)
    list(APPEND files ${output}/${locale}.res)
  endforeach()
  foreach(description IN LISTS descriptions)
    add_custom_command(
      OUTPUT ${output}/parameters.xml
      COMMAND ${CMAKE_COMMAND} -E make_directory ${output}
      COMMAND ${CMAKE_COMMAND} -E copy ${description} ${output}/parameters.xml
      DEPENDS ${description}
      VERBATIM)
    list(APPEND files ${output}/parameters.xml)
  endforeach()
  add_custom_target(${target} ALL DEPENDS ${files})
  if(NOT arg_NO_INSTALL)
    install(FILES ${files} DESTINATION ${CDPFI_CATALOG_DIR}/${component})
  endif()
endfunction()

# cdpfi_add_catalogs(TARGET COMPONENT FOLDER FILES... [NO_INSTALL]): compiles the FOLDER's message catalogs
# (<locale>.txt) to ICU resource bundles in the shape of the installed tree, puts its parameters.xml (the description of
# the component's configuration values) beside them where it is among the files, and installs all.
function(cdpfi_add_catalogs target component folder)
  cmake_parse_arguments(arg "NO_INSTALL" "" "FILES" ${ARGN})
  set(output ${PROJECT_BINARY_DIR}/${CDPFI_CATALOG_DIR}/${component})
  set(files)
  foreach(name IN LISTS arg_FILES)
    get_filename_component(locale ${name} NAME_WE)
    if(name MATCHES "\\.txt$")
      set(file ${output}/${locale}.res)
      set(command ${GENRB} --quiet --encoding UTF-8 --destdir ${output} ${folder}/${name})
    else()
      set(file ${output}/${name})
      set(command ${CMAKE_COMMAND} -E copy ${folder}/${name} ${file})
    endif()
    add_custom_command(
      OUTPUT ${file}
      COMMAND ${CMAKE_COMMAND} -E make_directory ${output}
      COMMAND ${command}
      DEPENDS ${folder}/${name}
      VERBATIM)
    list(APPEND files ${file})
  endforeach()
  add_custom_target(${target} ALL DEPENDS ${files})
  if(NOT arg_NO_INSTALL)
    install(FILES ${files} DESTINATION ${CDPFI_CATALOG_DIR}/${component} COMPONENT provider)
  endif()
endfunction()

# cdpfi_add_catalogs(TARGET COMPONENT FOLDER): compiles FOLDER/<locale>.txt to ICU resource bundles in the shape of the
# installed tree and installs them.
function(cdpfi_add_catalogs target component folder)
  set(output ${PROJECT_BINARY_DIR}/${CDPFI_CATALOG_DIR}/${component})
  file(GLOB sources CONFIGURE_DEPENDS ${folder}/*.txt)
  set(bundles)
  foreach(source IN LISTS sources)
    get_filename_component(locale ${source} NAME_WE)
    add_custom_command(
      OUTPUT ${output}/${locale}.res
      COMMAND ${CMAKE_COMMAND} -E make_directory ${output}
      COMMAND ${GENRB} --quiet --encoding UTF-8 --destdir ${output} ${source}
      DEPENDS ${source}
      VERBATIM)
    list(APPEND bundles ${output}/${locale}.res)
  endforeach()
  add_custom_target(${target} ALL DEPENDS ${bundles})
  install(FILES ${bundles} DESTINATION ${CDPFI_CATALOG_DIR}/${component})
endfunction()

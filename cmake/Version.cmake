# brevant_version(TARGET FILE TYPE DESCRIPTION): gives a Windows product what Explorer shows of it.
# TYPE is VFT_DLL or VFT_APP. Elsewhere it does nothing.
function(brevant_version target version_name version_type version_description)
  if(NOT WIN32)
    return()
  endif()
  enable_language(RC)
  set(resource ${PROJECT_BINARY_DIR}/version/${version_name}.rc)
  configure_file(${PROJECT_SOURCE_DIR}/cmake/version.rc.in ${resource} @ONLY)
  target_sources(${target} PRIVATE ${resource})
endfunction()

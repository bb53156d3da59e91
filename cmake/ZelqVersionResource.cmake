# What Windows shows of a file: its name, what it is and its version.
#
#   zelq_version_resource(<target> <description>)
function(zelq_version_resource target description)
  if(NOT WIN32)
    return()
  endif()
  get_target_property(type ${target} TYPE)
  set(kind VFT_APP)
  if(type STREQUAL "SHARED_LIBRARY")
    set(kind VFT_DLL)
  endif()
  string(REPLACE "." "," numbers "${PROJECT_VERSION}")
  set(source "${CMAKE_CURRENT_BINARY_DIR}/${target}-version.rc")
  configure_file("${PROJECT_SOURCE_DIR}/cmake/version.rc.in" "${source}.in" @ONLY)
  file(GENERATE OUTPUT "${source}" INPUT "${source}.in" TARGET ${target})
  # By its own command: what is compiled in this folder has options that are no resource compiler's.
  set(object "${CMAKE_CURRENT_BINARY_DIR}/${target}-version.o")
  add_custom_command(OUTPUT "${object}"
                     COMMAND "${CMAKE_RC_COMPILER}" -O coff "${source}" "${object}"
                     DEPENDS "${source}" VERBATIM)
  set_source_files_properties("${object}" PROPERTIES EXTERNAL_OBJECT ON GENERATED ON)
  target_sources(${target} PRIVATE "${object}")
endfunction()

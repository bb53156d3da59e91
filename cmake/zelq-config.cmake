# zelq::zelq, the library for ZEL Lumo motion controllers.
include("${CMAKE_CURRENT_LIST_DIR}/zelq-targets.cmake")
if(MSVC)
  # libzelq.dll.a is what the linker of MinGW-w64 takes.
  get_target_property(zelq_configurations zelq::zelq IMPORTED_CONFIGURATIONS)
  get_filename_component(zelq_import_library "${CMAKE_CURRENT_LIST_DIR}/../../zelq.lib" ABSOLUTE)
  foreach(zelq_configuration IN LISTS zelq_configurations)
    set_target_properties(zelq::zelq PROPERTIES
                          IMPORTED_IMPLIB_${zelq_configuration} "${zelq_import_library}")
  endforeach()
  unset(zelq_configurations)
  unset(zelq_import_library)
endif()

# What `cmake --install` puts where: the component `runtime` is what a program needs to run,
# `development` what it is built with: find_package(zelq) with its target zelq::zelq, or pkg-config.
include(CMakePackageConfigHelpers)

install(TARGETS zelq EXPORT zelq-targets
        RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}" COMPONENT runtime
        LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT runtime
                NAMELINK_COMPONENT development
        ARCHIVE DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT development)
install(FILES "${PROJECT_SOURCE_DIR}/src/api/zelq.h" "${PROJECT_SOURCE_DIR}/src/api/zelq_errors.h"
        DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}" COMPONENT development)

if(WIN32)
  # What the linkers of other compilers take instead: the same names, made from the same list.
  find_program(ZELQ_DLLTOOL NAMES llvm-dlltool llvm-dlltool-14)
  if(ZELQ_DLLTOOL)
    set(machine "i386:x86-64")
    if(CMAKE_SIZEOF_VOID_P EQUAL 4)
      set(machine "i386")
    endif()
    set(import_library "${CMAKE_CURRENT_BINARY_DIR}/zelq.lib")
    add_custom_command(OUTPUT "${import_library}"
      COMMAND "${ZELQ_DLLTOOL}" -m ${machine} -d "${CMAKE_CURRENT_SOURCE_DIR}/zelq.def" -D zelq.dll
              -l "${import_library}"
      DEPENDS zelq.def VERBATIM)
    add_custom_target(zelq_import_library ALL DEPENDS "${import_library}")
    install(FILES "${import_library}" DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT development)
  endif()
  install(FILES zelq.def DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT development)
else()
  install(TARGETS zelq_bundled LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT bundled
                                       EXCLUDE_FROM_ALL NAMELINK_SKIP)
endif()

set(package_folder "${CMAKE_INSTALL_LIBDIR}/cmake/zelq")
set(package_version "${CMAKE_CURRENT_BINARY_DIR}/zelq-config-version.cmake")
# All versions of one major number fit together.
write_basic_package_version_file("${package_version}" COMPATIBILITY SameMajorVersion)
install(EXPORT zelq-targets NAMESPACE zelq:: DESTINATION "${package_folder}" COMPONENT development)
install(FILES "${package_version}" "${PROJECT_SOURCE_DIR}/cmake/zelq-config.cmake"
        DESTINATION "${package_folder}" COMPONENT development)

# Relative to where it stands, so that what is installed can be moved.
file(RELATIVE_PATH ZELQ_PC_PREFIX "/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/")
string(REGEX REPLACE "/$" "" ZELQ_PC_PREFIX "${ZELQ_PC_PREFIX}")
configure_file("${PROJECT_SOURCE_DIR}/cmake/zelq.pc.in" zelq.pc @ONLY)
install(FILES "${CMAKE_CURRENT_BINARY_DIR}/zelq.pc"
        DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig" COMPONENT development)
install(FILES "${PROJECT_SOURCE_DIR}/LICENSE" "${PROJECT_SOURCE_DIR}/THIRD_PARTY_NOTICES"
        DESTINATION "${CMAKE_INSTALL_DOCDIR}" COMPONENT runtime)

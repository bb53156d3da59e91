# Header-only libraries that are the same for every system: found among the build machine's own
# headers. A cross compiler must not see that whole folder, so each library gets one of its own
# with nothing else in it.
#
#   zelq_host_headers(<target> <main header> <file or folder> ...)
function(zelq_host_headers target header)
  find_path(${target}_folder ${header} NO_CMAKE_FIND_ROOT_PATH REQUIRED)
  add_library(${target} INTERFACE)
  if(NOT CMAKE_CROSSCOMPILING)
    return()
  endif()
  set(own "${PROJECT_BINARY_DIR}/host-headers/${target}")
  file(MAKE_DIRECTORY "${own}")
  foreach(entry IN LISTS ARGN)
    file(CREATE_LINK "${${target}_folder}/${entry}" "${own}/${entry}" SYMBOLIC)
  endforeach()
  target_include_directories(${target} SYSTEM INTERFACE "${own}")
endfunction()

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

zelq_host_headers(zelq_json nlohmann/json.hpp nlohmann)

zelq_host_headers(zelq_asio asio.hpp asio.hpp asio)
target_compile_definitions(zelq_asio INTERFACE ASIO_STANDALONE ASIO_NO_DEPRECATED)
target_link_libraries(zelq_asio INTERFACE Threads::Threads)
if(WIN32)
  target_link_libraries(zelq_asio INTERFACE ws2_32 mswsock)
endif()

if(ZELQ_SANITIZE MATCHES "thread")
  # The thread sanitizer does not understand Asio's fences; its locks are enough.
  target_compile_definitions(zelq_asio INTERFACE ASIO_DISABLE_FENCED_BLOCK)
  target_compile_options(zelq_asio INTERFACE -Wno-tsan)
endif()

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

# Sockets, timers, HTTP and WebSocket.
zelq_host_headers(zelq_network boost/asio.hpp boost)
target_include_directories(zelq_network INTERFACE "${PROJECT_SOURCE_DIR}/web")
target_compile_definitions(zelq_network INTERFACE BOOST_ASIO_NO_DEPRECATED
                           BOOST_ASIO_DISABLE_BOOST_DATE_TIME BOOST_ERROR_CODE_HEADER_ONLY)
target_link_libraries(zelq_network INTERFACE Threads::Threads)
if(WIN32)
  target_link_libraries(zelq_network INTERFACE ws2_32 mswsock)
endif()

if(ZELQ_SANITIZE MATCHES "thread")
  # The thread sanitizer does not understand Asio's fences; its locks are enough.
  target_compile_definitions(zelq_network INTERFACE BOOST_ASIO_DISABLE_FENCED_BLOCK)
endif()
if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 15)
  # It has coroutines, but neither GCC's library nor Asio takes its word for it.
  target_compile_definitions(zelq_network INTERFACE __cpp_impl_coroutine=201902L
                             BOOST_ASIO_HAS_CO_AWAIT BOOST_ASIO_HAS_STD_COROUTINE)
endif()

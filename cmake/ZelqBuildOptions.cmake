# What every target of this tree is compiled with.
include(GNUInstallDirs)
find_package(Threads REQUIRED)

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_C_STANDARD 99)
set(CMAKE_C_STANDARD_REQUIRED ON)
set(CMAKE_C_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)

# Programs and libraries stand side by side, so that a test finds zelq.dll as an application does.
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}/bin")
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}/bin")

# What a file has for itself, in its unnamed namespace, has a name that no neighbour uses.
set(CMAKE_UNITY_BUILD ${ZELQ_UNITY})
set(CMAKE_UNITY_BUILD_BATCH_SIZE ${ZELQ_BATCH})

find_program(ZELQ_CCACHE ccache)
if(ZELQ_CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
  set(CMAKE_C_COMPILER_LAUNCHER "${ZELQ_CCACHE}")
  set(CMAKE_CXX_COMPILER_LAUNCHER "${ZELQ_CCACHE}")
endif()

if(ZELQ_SANITIZE)
  add_compile_options(-fsanitize=${ZELQ_SANITIZE} -fno-omit-frame-pointer -g1)
  add_link_options(-fsanitize=${ZELQ_SANITIZE})
  if(ZELQ_SANITIZE MATCHES "undefined")
    add_compile_options(-fno-sanitize-recover=all)
    # A program in C, which links the library, too, has no runtime for these.
    add_compile_options(-fno-sanitize=vptr $<$<CXX_COMPILER_ID:Clang>:-fno-sanitize=function>)
  endif()
endif()

# Undefined behaviour is looked for in the library and the simulated controller; a folder that says
# this is compiled in half the time.
macro(zelq_without_ub_sanitizer)
  if(ZELQ_SANITIZE MATCHES "undefined")
    add_compile_options(-fno-sanitize=undefined)
  endif()
endmacro()

# What looks at each pointer there takes a third of the compiler's time, and a wrong one is for the
# address sanitizer to find.
macro(zelq_without_pointer_checks)
  if(ZELQ_SANITIZE MATCHES "undefined")
    add_compile_options(-fno-sanitize=null,alignment,object-size)
  endif()
endmacro()

# For Windows, where GNU's linker takes half a minute for a program of many sections.
macro(zelq_linked_quickly)
  if(WIN32)
    add_link_options("SHELL:-wrapper ${PROJECT_SOURCE_DIR}/cmake/toolchains/windows-quick-link")
  endif()
endmacro()

# Programs for which a full optimisation is not worth its time, and in tests none is.
set(ZELQ_PROGRAM_OPTIMISATION $<$<NOT:$<CONFIG:Debug>>:-O1>)
macro(zelq_optimised_as_program)
  if(NOT ZELQ_OPTIMISE_PROGRAMS)
    # GNU's assembler for Windows takes longer for the many sections that no optimisation leaves than
    # the compiler for this one.
    set(ZELQ_PROGRAM_OPTIMISATION $<IF:$<BOOL:${WIN32}>,-Og,-O0>)
    add_compile_options(${ZELQ_PROGRAM_OPTIMISATION})
    zelq_linked_quickly()
  endif()
endmacro()

if(WIN32)
  # One self-contained file: no compiler runtime DLL is needed on the customer's machine.
  # The same sources give the same file: without the time at which it was linked.
  add_link_options(-static -Wl,--no-insert-timestamp)
  add_compile_definitions(WIN32_LEAN_AND_MEAN NOMINMAX _WIN32_WINNT=0x0601)
endif()
if(CMAKE_SYSTEM_NAME STREQUAL "Linux")
  add_compile_definitions(_FILE_OFFSET_BITS=64)
endif()

# On 32-bit x86 doubles are evaluated by SSE, as everywhere else: the older unit is wider, which gives
# other results.
include(CheckCXXSourceCompiles)
check_cxx_source_compiles("#ifndef __i386__\n#error\n#endif\nint main() {}" ZELQ_IS_X86_32)
add_library(zelq_arithmetic INTERFACE)
if(ZELQ_IS_X86_32)
  target_compile_options(zelq_arithmetic INTERFACE -msse2 -mfpmath=sse)
endif()

# Warnings for our own code; every one is an error. Of names that shadow others GCC tells more to
# the point.
add_library(zelq_warnings INTERFACE)
target_compile_options(zelq_warnings INTERFACE
  -Wall -Wextra -Wpedantic -Werror -Wconversion -Wsign-conversion -Wcast-align
  $<$<NOT:$<COMPILE_LANG_AND_ID:CXX,Clang>>:-Wshadow>
  -Wundef -Wformat=2 -Wdouble-promotion
  $<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor -Wold-style-cast -Woverloaded-virtual
                            -Wextra-semi -Wredundant-decls>
  $<$<COMPILE_LANG_AND_ID:CXX,GNU>:-Wsuggest-override>
  $<$<COMPILE_LANGUAGE:C>:-Wstrict-prototypes -Wmissing-prototypes>)
target_link_libraries(zelq_warnings INTERFACE zelq_arithmetic)

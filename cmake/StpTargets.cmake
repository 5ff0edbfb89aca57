# What every target of the project shares, and one helper for each kind of target.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}/bin")
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}/lib")

add_library(StpOptions INTERFACE)
target_compile_options(StpOptions INTERFACE -Wall -Wextra -Wpedantic -Werror)
# A library calls its own functions directly, and may inline them, although they are exported.
target_compile_options(StpOptions INTERFACE -fno-semantic-interposition)
if(STP_SANITIZE)
  target_compile_options(StpOptions INTERFACE -fsanitize=address,undefined
                         -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_link_options(StpOptions INTERFACE -fsanitize=address,undefined)
endif()

# A shared library whose public headers are included from the layer's root: "Lumo/Ptr.h".
function(stp_library name include_root)
  add_library(${name} SHARED ${ARGN})
  target_include_directories(${name} PUBLIC "$<BUILD_INTERFACE:${include_root}>")
  target_link_libraries(${name} PRIVATE $<BUILD_INTERFACE:StpOptions>)
  target_link_options(${name} PRIVATE -Wl,-Bsymbolic-functions -Wl,--no-undefined)
  set_target_properties(${name} PROPERTIES VERSION ${PROJECT_VERSION} SOVERSION 0)
  stp_check_headers(${name} "${include_root}")
endfunction()

# Compiles every header of a layer alone, so that each includes what it needs.
function(stp_check_headers name include_root)
  file(GLOB headers CONFIGURE_DEPENDS "${CMAKE_CURRENT_SOURCE_DIR}/*.h"
       "${CMAKE_CURRENT_SOURCE_DIR}/*/*.h")
  foreach(header IN LISTS headers)
    file(RELATIVE_PATH path "${include_root}" "${header}")
    set(source "${CMAKE_CURRENT_BINARY_DIR}/header-check/${path}.cpp")
    file(CONFIGURE OUTPUT "${source}" CONTENT "#include \"${path}\"\n")
    list(APPEND checks "${source}")
  endforeach()
  if(checks)
    add_library(${name}HeaderCheck OBJECT ${checks})
    target_link_libraries(${name}HeaderCheck PRIVATE ${name} StpOptions)
  endif()
endfunction()

# One test executable; each of its tests is a test of ctest.
#   stp_test(NAME SOURCES... LIBRARIES...)
function(stp_test name)
  if(NOT STP_TESTS)
    return()
  endif()
  cmake_parse_arguments(arg "" "" "SOURCES;LIBRARIES" ${ARGN})
  find_package(GTest REQUIRED)
  include(GoogleTest)
  add_executable(${name} ${arg_SOURCES})
  target_link_libraries(${name} PRIVATE ${arg_LIBRARIES} StpOptions GTest::gtest_main GTest::gmock)
  gtest_discover_tests(${name} DISCOVERY_MODE PRE_TEST)
endfunction()

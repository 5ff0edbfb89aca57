# What every target of the project shares, and one helper for each kind of target.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
# Outside the system's own folders, what is installed finds the libraries beside it.
if(NOT CMAKE_INSTALL_PREFIX STREQUAL "/usr")
  set(CMAKE_INSTALL_RPATH "$ORIGIN/../${CMAKE_INSTALL_LIBDIR}" "$ORIGIN")
endif()
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}/bin")
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}/lib")

add_library(StpOptions INTERFACE)
target_compile_options(StpOptions INTERFACE -Wall -Wextra -Wpedantic)
# At -O3, GCC 12 takes strings that are joined for copies that overlap or overflow, and what an optional
# or a variant does not hold for read.
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
  target_compile_options(StpOptions INTERFACE
                         "$<$<CONFIG:Release>:-Wno-restrict;-Wno-array-bounds;-Wno-maybe-uninitialized>")
endif()
# A library calls its own functions directly, and may inline them, although they are exported.
target_compile_options(StpOptions INTERFACE -fno-semantic-interposition)
if(STP_SANITIZE)
  target_compile_options(StpOptions INTERFACE -fsanitize=${STP_SANITIZE}
                         -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_link_options(StpOptions INTERFACE -fsanitize=${STP_SANITIZE})
endif()
if(STP_COVERAGE)
  # Counts that can be written while the process runs, so that one that aborts leaves them, too.
  target_compile_options(StpOptions INTERFACE -fprofile-instr-generate -fcoverage-mapping
                         "SHELL:-mllvm -runtime-counter-relocation")
  target_link_options(StpOptions INTERFACE -fprofile-instr-generate)
endif()
if(STP_FUZZ)
  target_compile_options(StpOptions INTERFACE -fsanitize=fuzzer-no-link)
endif()

# A shared library whose public headers are included from the layer's root: "Lumo/Ptr.h". Others
# link it as StpOpenConfig::export_name.
function(stp_library name export_name include_root)
  add_library(${name} SHARED ${ARGN})
  add_library(StpOpenConfig::${export_name} ALIAS ${name})
  target_compile_features(${name} PUBLIC cxx_std_20)
  target_include_directories(${name} PUBLIC "$<BUILD_INTERFACE:${include_root}>"
                             "$<INSTALL_INTERFACE:${STP_INSTALL_INCLUDEDIR}>")
  target_link_libraries(${name} PRIVATE $<BUILD_INTERFACE:StpOptions>)
  target_link_options(${name} PRIVATE -Wl,-Bsymbolic-functions)
  if(NOT STP_SANITIZE)
    target_link_options(${name} PRIVATE -Wl,--no-undefined)
  endif()
  set_target_properties(${name} PROPERTIES VERSION ${PROJECT_VERSION} SOVERSION 0
                        EXPORT_NAME ${export_name})
  install(TARGETS ${name} EXPORT StpOpenConfigTargets
          LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT runtime
          NAMELINK_COMPONENT development)
  stp_check_headers(${name})
endfunction()

# Installs the headers of folders beside the calling file, less those that only tests or the library
# itself need.
#   stp_install_headers(FOLDERS... [EXCEPT HEADERS...])
function(stp_install_headers)
  cmake_parse_arguments(arg "" "" "EXCEPT" ${ARGN})
  set(excluded PATTERN "*TestSupport.h" EXCLUDE PATTERN "tests" EXCLUDE)
  foreach(header IN LISTS arg_EXCEPT)
    list(APPEND excluded PATTERN "${header}" EXCLUDE)
  endforeach()
  foreach(folder IN LISTS arg_UNPARSED_ARGUMENTS)
    install(DIRECTORY "${folder}" DESTINATION "${STP_INSTALL_INCLUDEDIR}" COMPONENT development
            FILES_MATCHING PATTERN "*.h" ${excluded})
  endforeach()
endfunction()

# Compiles the headers of a layer alone, so that each includes what it needs; less those with a source
# beside them, which includes its header first.
#   stp_check_headers(NAME)
function(stp_check_headers name)
  if(NOT STP_CHECK_HEADERS)
    return()
  endif()
  file(GLOB_RECURSE headers CONFIGURE_DEPENDS "${CMAKE_CURRENT_SOURCE_DIR}/*.h")
  foreach(header IN LISTS headers)
    string(REGEX REPLACE "\\.h$" ".cpp" source "${header}")
    if(EXISTS "${source}")
      continue()
    endif()
    file(RELATIVE_PATH path "${CMAKE_CURRENT_SOURCE_DIR}" "${header}")
    set(source "${CMAKE_CURRENT_BINARY_DIR}/header-check/${path}.cpp")
    file(CONFIGURE OUTPUT "${source}" CONTENT "#include \"${header}\"\n")
    list(APPEND checks "${source}")
  endforeach()
  if(checks)
    add_library(${name}HeaderCheck OBJECT ${checks})
    target_link_libraries(${name}HeaderCheck PRIVATE ${name} StpOptions)
    target_compile_options(${name}HeaderCheck PRIVATE -O0 -g0)
  endif()
endfunction()

# One test executable; each of its tests is a test of ctest.
# Headers that nearly every source of it includes are parsed once, with the framework's.
#   stp_test(NAME SOURCES... LIBRARIES... [PRECOMPILE HEADERS...])
function(stp_test name)
  if(NOT STP_TESTS)
    return()
  endif()
  cmake_parse_arguments(arg "" "" "SOURCES;LIBRARIES;PRECOMPILE" ${ARGN})
  find_package(GTest REQUIRED)
  include(GoogleTest)
  add_executable(${name} ${arg_SOURCES})
  target_link_libraries(${name} PRIVATE ${arg_LIBRARIES} StpOptions GTest::gtest_main GTest::gmock)
  # Tests are compiled far more often than they run: what they test is optimised, they are not, nor
  # can they be fortified then. Lines of theirs are named where a sanitizer reports them.
  set(lines -g0)
  if(STP_SANITIZE)
    set(lines -g1)
  endif()
  target_compile_options(${name} PRIVATE -O0 -U_FORTIFY_SOURCE ${lines})
  target_precompile_headers(${name} PRIVATE <gtest/gtest.h> <gmock/gmock.h> ${arg_PRECOMPILE})
  if(NOT STP_SANITIZE MATCHES address)
    gtest_discover_tests(${name} DISCOVERY_MODE PRE_TEST)
    return()
  endif()
  # There, a process of its own costs more than most tests do.
  foreach(part RANGE 1 4)
    math(EXPR index "${part} - 1")
    add_test(NAME ${name}.Part${part} COMMAND ${name} --gtest_brief=1)
    set_tests_properties(${name}.Part${part} PROPERTIES TIMEOUT 900 ENVIRONMENT
                         "GTEST_TOTAL_SHARDS=4;GTEST_SHARD_INDEX=${index}")
  endforeach()
endfunction()

# The fuzz targets. With ODAXGEN_FUZZ each becomes a libFuzzer program, odaxgen-fuzz-NAME; with
# ODAXGEN_TESTS a program of any compiler, odaxgen-replay-NAME, that runs the files given to it, and
# a test that gives it every file that the fuzzers have brought so far.

set(fuzz ${PROJECT_SOURCE_DIR}/fuzz)
set(odaxgen_fuzzed odaxgen-modules ${ODAXGEN_PLATFORM_LIBRARIES})

# With the sources of the command that print what a job file says.
file(GLOB fuzz_support CONFIGURE_DEPENDS ${fuzz}/support/*.cpp)
set(command ${PROJECT_SOURCE_DIR}/Tools/src/command)
set(test_support ${PROJECT_SOURCE_DIR}/tests/support)
add_library(odaxgen-fuzz-support STATIC EXCLUDE_FROM_ALL ${fuzz_support} ${test_support}/TiffWriter.cpp
  ${command}/SummaryText.cpp ${command}/SummaryJson.cpp ${command}/FormatNames.cpp
  ${command}/Report.cpp)
target_include_directories(odaxgen-fuzz-support PUBLIC ${fuzz}/support ${command}
  ${test_support})
target_link_libraries(odaxgen-fuzz-support PUBLIC odaxgen-jobverify odaxgen-jobcheck
  odaxgen-jobrender odaxgen-jobreader TIFF::TIFF nlohmann_json::nlohmann_json)
odaxgen_strict(odaxgen-fuzz-support)
list(APPEND odaxgen_fuzzed odaxgen-fuzz-support)

function(odaxgen_add_fuzz_target name)
  set(target odaxgen-fuzzed-${name})
  add_library(${target} OBJECT EXCLUDE_FROM_ALL ${fuzz}/${name}.cpp)
  target_link_libraries(${target} PUBLIC ${odaxgen_fuzzed})
  odaxgen_strict(${target})
  if(ODAXGEN_FUZZ)
    add_executable(odaxgen-fuzz-${name} $<TARGET_OBJECTS:${target}>)
    target_link_libraries(odaxgen-fuzz-${name} PRIVATE ${odaxgen_fuzzed})
    odaxgen_strict(odaxgen-fuzz-${name})
    target_link_options(odaxgen-fuzz-${name} PRIVATE -fsanitize=fuzzer)
    set_target_properties(odaxgen-fuzz-${name} PROPERTIES
      LINKER_LANGUAGE CXX RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR})
  endif()
  if(ODAXGEN_TESTS)
    add_executable(odaxgen-replay-${name} ${fuzz}/replay.cpp $<TARGET_OBJECTS:${target}>)
    target_link_libraries(odaxgen-replay-${name} PRIVATE ${odaxgen_fuzzed})
    odaxgen_strict(odaxgen-replay-${name})
    set_target_properties(odaxgen-replay-${name} PROPERTIES
      RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/fuzz)
    add_test(NAME fuzz.${name}
      COMMAND odaxgen-replay-${name} ${fuzz}/corpus/${name} ${fuzz}/regressions/${name})
    set_tests_properties(fuzz.${name} PROPERTIES LABELS fuzz TIMEOUT 120)
  endif()
endfunction()

file(GLOB fuzz_targets CONFIGURE_DEPENDS RELATIVE ${fuzz} ${fuzz}/*.cpp)
list(REMOVE_ITEM fuzz_targets replay.cpp)
foreach(source IN LISTS fuzz_targets)
  string(REGEX REPLACE "\\.cpp$" "" name ${source})
  odaxgen_add_fuzz_target(${name})
endforeach()

# The command and what stands behind its subcommands. The library needs none of this.

include(OdaxgenVersion)

find_package(CLI11 REQUIRED)
find_package(nlohmann_json REQUIRED)
find_package(PNG REQUIRED)
find_package(TIFF REQUIRED)

# Reads job files back. Links nothing of the library, so that it cannot share its mistakes.
file(GLOB jobreader CONFIGURE_DEPENDS Tools/src/jobreader/*.cpp)
add_library(odaxgen-jobreader STATIC EXCLUDE_FROM_ALL ${jobreader})
target_include_directories(odaxgen-jobreader PUBLIC Tools/src/jobreader)
odaxgen_strict(odaxgen-jobreader)

# Holds a job file against its configuration.
file(GLOB jobverify CONFIGURE_DEPENDS Tools/src/jobverify/*.cpp)
add_library(odaxgen-jobverify STATIC EXCLUDE_FROM_ALL ${jobverify})
target_include_directories(odaxgen-jobverify PUBLIC Tools/src/jobverify
  PRIVATE $<TARGET_PROPERTY:odaxgen-modules,INTERFACE_INCLUDE_DIRECTORIES>)
target_link_libraries(odaxgen-jobverify PUBLIC odaxgen-jobreader PRIVATE TIFF::TIFF)
odaxgen_strict(odaxgen-jobverify)
odaxgen_lint_as_one(odaxgen-jobverify)

# Checks a configuration without running it.
file(GLOB jobcheck CONFIGURE_DEPENDS Tools/src/jobcheck/*.cpp)
add_library(odaxgen-jobcheck STATIC EXCLUDE_FROM_ALL ${jobcheck})
target_include_directories(odaxgen-jobcheck PUBLIC Tools/src/jobcheck
  PRIVATE $<TARGET_PROPERTY:odaxgen-modules,INTERFACE_INCLUDE_DIRECTORIES>)
target_link_libraries(odaxgen-jobcheck PRIVATE odaxgen-jobverify)
odaxgen_strict(odaxgen-jobcheck)

# Takes unfinished files away, whichever way the process ends.
add_library(odaxgen-leftovers STATIC EXCLUDE_FROM_ALL Tools/src/leftovers/Leftovers.cpp)
target_include_directories(odaxgen-leftovers PUBLIC Tools/src/leftovers)
odaxgen_strict(odaxgen-leftovers)

# Draws the pages of a job file.
file(GLOB jobrender CONFIGURE_DEPENDS Tools/src/jobrender/*.cpp)
add_library(odaxgen-jobrender STATIC EXCLUDE_FROM_ALL ${jobrender})
target_include_directories(odaxgen-jobrender PUBLIC Tools/src/jobrender)
target_link_libraries(odaxgen-jobrender PUBLIC odaxgen-jobreader PRIVATE odaxgen-leftovers PNG::PNG)
# Its loops over pixels are many instructions at once only without a check of each index.
set_target_properties(odaxgen-jobrender PROPERTIES ODAXGEN_UNCHECKED_CONTAINERS ON)
odaxgen_strict(odaxgen-jobrender)

file(GLOB command CONFIGURE_DEPENDS Tools/src/command/*.cpp)
add_executable(odaxgen-cli ${command})
odaxgen_lint_as_one(odaxgen-cli)
set_target_properties(odaxgen-cli PROPERTIES OUTPUT_NAME odaxgen
  RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR})
# It parses options and prints; optimising that for size takes the compiler a third less time.
target_compile_options(odaxgen-cli PRIVATE -Os)
target_compile_definitions(odaxgen-cli PRIVATE ODAXGEN_VERSION="${PROJECT_VERSION}")
odaxgen_add_revision(odaxgen-cli)
# The modules themselves, not the library: a shared one exports makeODAXData only, and verify reads
# configurations too.
target_link_libraries(odaxgen-cli PRIVATE odaxgen-jobverify odaxgen-jobcheck odaxgen-jobrender
  odaxgen-leftovers odaxgen-modules TIFF::TIFF
  ${ODAXGEN_PLATFORM_LIBRARIES} CLI11::CLI11 nlohmann_json::nlohmann_json)
odaxgen_strict(odaxgen-cli)

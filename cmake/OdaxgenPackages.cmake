# Debian packages, one for each component: `./dev package` makes them.
#   libodaxgen0     the shared library; the number is its SOVERSION
#   libodaxgen-dev  header, static library, CMake package, pkg-config file
#   odaxgen         the command

# Within another project, packing is that project's business.
if(NOT PROJECT_IS_TOP_LEVEL OR NOT BUILD_SHARED_LIBS OR NOT ODAXGEN_COMMAND)
  return()
endif()

get_target_property(soversion odaxgen SOVERSION)
set(library libodaxgen${soversion})

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME odaxgen)
set(CPACK_PACKAGE_VENDOR "The odaxgen developers")
# Empty, or CPack would put it in front of the descriptions below.
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")
set(CPACK_PACKAGE_CONTACT "The odaxgen developers <odaxgen@localhost>")
set(CPACK_PACKAGING_INSTALL_PREFIX ${CMAKE_INSTALL_PREFIX})
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

set(CPACK_COMPONENTS_ALL runtime development tools)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME ${library})
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_RUNTIME_DESCRIPTION
"makes printer job files from job descriptions - shared library
Reads a plain-text job description, the pages that it names (TIFF separations
or composites) and XML templates, and writes a printer job file.
.
This package contains the shared library.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libodaxgen-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
# Not by the components of CPack: those would ask for the same version or a later one.
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS
  "${library} (= ${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE})")
set(CPACK_DEBIAN_DEVELOPMENT_DESCRIPTION
"makes printer job files from job descriptions - development files
Reads a plain-text job description, the pages that it names (TIFF separations
or composites) and XML templates, and writes a printer job file.
.
This package contains the header, the static library, and what CMake and
pkg-config need to find them.")

set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME odaxgen)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION graphics)
set(CPACK_DEBIAN_TOOLS_DESCRIPTION
"makes printer job files from job descriptions - command
Reads a plain-text job description, the pages that it names (TIFF separations
or composites) and XML templates, and writes a printer job file. Reads job
files back: says what is in them, proves them right pixel by pixel, and draws
their pages.
.
This package contains the command, its manual pages and documents, and
completions for bash, zsh and fish.")

set(finish ${CMAKE_CURRENT_BINARY_DIR}/FinishPackages.cmake)
configure_file(${PROJECT_SOURCE_DIR}/cmake/FinishPackages.cmake.in ${finish} @ONLY)
set(CPACK_PRE_BUILD_SCRIPTS ${finish})
set(CPACK_POST_BUILD_SCRIPTS ${finish})

include(CPack)

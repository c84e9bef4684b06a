# Installs library, header, CMake package and pkg-config file; the command with its manual pages,
# completions and documents. Three components, each a package of OdaxgenPackages.cmake:
#   runtime      the shared library
#   development  what building against it needs; a static build has all of the library in here
#   tools        the command and what belongs to it

include(CMakePackageConfigHelpers)

set(ODAXGEN_PACKAGE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/odaxgen)

# Library -----------------------------------------------------------------------------------------
set(ODAXGEN_INSTALLED_LIBRARIES odaxgen)
if(BUILD_SHARED_LIBS)
  # Who installs the shared library gets the static one from the same objects.
  add_library(odaxgen-static STATIC $<TARGET_OBJECTS:odaxgen-modules>)
  set_target_properties(odaxgen-static PROPERTIES OUTPUT_NAME odaxgen LINKER_LANGUAGE CXX)
  target_link_libraries(odaxgen-static PRIVATE ${ODAXGEN_PLATFORM_LIBRARIES})
  target_include_directories(odaxgen-static INTERFACE
    $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
  target_compile_features(odaxgen-static INTERFACE cxx_std_11)
  list(APPEND ODAXGEN_INSTALLED_LIBRARIES odaxgen-static)
endif()
install(TARGETS ${ODAXGEN_INSTALLED_LIBRARIES} EXPORT odaxgenTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
    COMPONENT runtime NAMELINK_COMPONENT development
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT runtime)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/odaxgen
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development FILES_MATCHING PATTERN "*.h")

install(EXPORT odaxgenTargets NAMESPACE odaxgen::
  DESTINATION ${ODAXGEN_PACKAGE_DIR} COMPONENT development)
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/odaxgenConfig.cmake.in
  ${CMAKE_CURRENT_BINARY_DIR}/odaxgenConfig.cmake INSTALL_DESTINATION ${ODAXGEN_PACKAGE_DIR})
write_basic_package_version_file(${CMAKE_CURRENT_BINARY_DIR}/odaxgenConfigVersion.cmake
  COMPATIBILITY SameMinorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/odaxgenConfig.cmake
  ${CMAKE_CURRENT_BINARY_DIR}/odaxgenConfigVersion.cmake
  DESTINATION ${ODAXGEN_PACKAGE_DIR} COMPONENT development)

# A relative folder hangs below the prefix, an absolute one stands for itself.
foreach(folder LIBDIR INCLUDEDIR)
  if(IS_ABSOLUTE ${CMAKE_INSTALL_${folder}})
    set(ODAXGEN_PC_${folder} ${CMAKE_INSTALL_${folder}})
  else()
    set(ODAXGEN_PC_${folder} "\${prefix}/${CMAKE_INSTALL_${folder}}")
  endif()
endforeach()
list(JOIN ODAXGEN_PLATFORM_LIBRARIES " " ODAXGEN_PC_PRIVATE)
configure_file(${PROJECT_SOURCE_DIR}/cmake/odaxgen.pc.in
  ${CMAKE_CURRENT_BINARY_DIR}/odaxgen.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/odaxgen.pc
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)

# Command -----------------------------------------------------------------------------------------
if(ODAXGEN_COMMAND)
  install(TARGETS odaxgen-cli RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT tools)
  install(FILES ${PROJECT_SOURCE_DIR}/man/odaxgen.1
    DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT tools)
  install(FILES ${PROJECT_SOURCE_DIR}/man/odaxgen.cfg.5
    DESTINATION ${CMAKE_INSTALL_MANDIR}/man5 COMPONENT tools)

  # Where the shells look. Debian keeps zsh's own folder for zsh, and gives packages another.
  if(CMAKE_INSTALL_PREFIX STREQUAL "/usr")
    set(zsh_folder zsh/vendor-completions)
  else()
    set(zsh_folder zsh/site-functions)
  endif()
  install(FILES ${PROJECT_SOURCE_DIR}/completions/odaxgen.bash
    DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions RENAME odaxgen COMPONENT tools)
  install(FILES ${PROJECT_SOURCE_DIR}/completions/_odaxgen
    DESTINATION ${CMAKE_INSTALL_DATADIR}/${zsh_folder} COMPONENT tools)
  install(FILES ${PROJECT_SOURCE_DIR}/completions/odaxgen.fish
    DESTINATION ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d COMPONENT tools)

  # In the folders that they have here, which the links in them follow.
  install(FILES ${PROJECT_SOURCE_DIR}/README.md ${PROJECT_SOURCE_DIR}/CHANGELOG.md
    DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT tools)
  install(DIRECTORY ${PROJECT_SOURCE_DIR}/docs ${PROJECT_SOURCE_DIR}/examples
    DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT tools PATTERN "*.odx" EXCLUDE)
endif()

include(OdaxgenPackages)

# Installs library, header, command, CMake package and pkg-config file.

include(CMakePackageConfigHelpers)

set(ODAXGEN_PACKAGE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/odaxgen)

install(TARGETS odaxgen EXPORT odaxgenTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/odaxgen
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} FILES_MATCHING PATTERN "*.h")
if(ODAXGEN_COMMAND)
  install(TARGETS odaxgen-cli RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
endif()

install(EXPORT odaxgenTargets NAMESPACE odaxgen:: DESTINATION ${ODAXGEN_PACKAGE_DIR})
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/odaxgenConfig.cmake.in
  ${CMAKE_CURRENT_BINARY_DIR}/odaxgenConfig.cmake INSTALL_DESTINATION ${ODAXGEN_PACKAGE_DIR})
write_basic_package_version_file(${CMAKE_CURRENT_BINARY_DIR}/odaxgenConfigVersion.cmake
  COMPATIBILITY SameMinorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/odaxgenConfig.cmake
  ${CMAKE_CURRENT_BINARY_DIR}/odaxgenConfigVersion.cmake DESTINATION ${ODAXGEN_PACKAGE_DIR})

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
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

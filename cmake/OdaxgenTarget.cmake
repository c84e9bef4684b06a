# How this project's targets are compiled and linked.

# Warnings, hardening and sanitizers for one of our own targets.
function(odaxgen_strict target)
  target_compile_features(${target} PUBLIC cxx_std_20)
  set_target_properties(${target} PROPERTIES CXX_EXTENSIONS OFF)
  target_compile_options(${target} PRIVATE
    -Wall -Wextra -Wshadow -Wconversion -Wsign-conversion -Wcast-align -Wformat=2 -Wundef)
  # GCC 12 sees overlapping copies in the concatenation of strings where there are none.
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
    target_compile_options(${target} PRIVATE -Wno-restrict)
  endif()
  if(ODAXGEN_WERROR)
    target_compile_options(${target} PRIVATE -Werror)
  endif()
  odaxgen_harden(${target})
  if(ODAXGEN_SANITIZE)
    target_compile_options(${target} PRIVATE
      -fsanitize=${ODAXGEN_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_link_options(${target} PUBLIC -fsanitize=${ODAXGEN_SANITIZE})
  endif()
  if(ODAXGEN_FUZZ)
    # What the fuzzer learns from: which branches ran, and what was compared with what.
    target_compile_options(${target} PRIVATE -fsanitize=fuzzer-no-link)
    target_link_options(${target} PUBLIC -fsanitize=fuzzer-no-link)
  endif()
endfunction()

# An object library with every module, on one of the two platform sources.
function(odaxgen_add_modules target platform)
  set(src ${PROJECT_SOURCE_DIR}/Tools/src)
  file(GLOB modules CONFIGURE_DEPENDS ${src}/odaxgen/*.cpp ${src}/ZKSafeLib/*.cpp)
  add_library(${target} OBJECT ${modules} ${src}/platform/CLibrary.cpp)
  odaxgen_strict(${target})
  set_target_properties(${target} PROPERTIES
    POSITION_INDEPENDENT_CODE ON CXX_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON)
  target_include_directories(${target} PUBLIC
    ${PROJECT_SOURCE_DIR}/include ${src}/odaxgen ${src}/ZKSafeLib ${src}/platform)
  if(platform STREQUAL "foundation")
    odaxgen_use_foundation(${target} ${src}/platform/Mac_Depend_Foundation.mm)
    set(ODAXGEN_PLATFORM_LIBRARIES ${ODAXGEN_PLATFORM_LIBRARIES} PARENT_SCOPE)
  elseif(platform STREQUAL "posix")
    target_sources(${target} PRIVATE ${src}/platform/Mac_Depend_Posix.cpp)
  else()
    message(FATAL_ERROR "ODAXGEN_PLATFORM is '${platform}'; it must be posix or foundation")
  endif()
endfunction()

# Hidden visibility does not reach templates of the standard library, so the linker gets a list.
function(odaxgen_export_only_the_entry target)
  get_target_property(type ${target} TYPE)
  if(NOT type STREQUAL "SHARED_LIBRARY")
    return()
  endif()
  if(APPLE)
    target_link_options(${target} PRIVATE "LINKER:-exported_symbol,_makeODAXData")
  else()
    set(map ${PROJECT_SOURCE_DIR}/cmake/odaxgen.map)
    target_link_options(${target} PRIVATE "LINKER:--version-script=${map}")
    set_target_properties(${target} PROPERTIES LINK_DEPENDS ${map})
  endif()
endfunction()

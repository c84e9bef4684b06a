# The platform source on Foundation services: the system's on macOS, GNUstep's elsewhere.

enable_language(OBJCXX)

function(odaxgen_use_foundation target source)
  target_sources(${target} PRIVATE ${source})
  set_target_properties(${target} PROPERTIES
    OBJCXX_STANDARD 20 OBJCXX_STANDARD_REQUIRED ON OBJCXX_VISIBILITY_PRESET hidden)
  if(APPLE)
    target_link_libraries(${target} PUBLIC "-framework Foundation")
    set(ODAXGEN_PLATFORM_LIBRARIES "-framework Foundation" PARENT_SCOPE)
    return()
  endif()
  find_program(GNUSTEP_CONFIG gnustep-config REQUIRED)
  execute_process(COMMAND ${GNUSTEP_CONFIG} --objc-flags
    OUTPUT_VARIABLE flags OUTPUT_STRIP_TRAILING_WHITESPACE)
  execute_process(COMMAND ${GNUSTEP_CONFIG} --base-libs
    OUTPUT_VARIABLE libraries OUTPUT_STRIP_TRAILING_WHITESPACE)
  separate_arguments(flags UNIX_COMMAND "${flags}")
  # Keep what the headers need; optimisation and dependency flags are the build's own, and so are
  # warnings, which GNUstep's headers do not bear.
  list(FILTER flags INCLUDE REGEX "^-(D|I/|fobjc|fconstant-string|fexceptions|pthread)")
  list(TRANSFORM flags REPLACE "^-I" "-isystem")
  separate_arguments(libraries UNIX_COMMAND "${libraries}")
  set_source_files_properties(${source} PROPERTIES COMPILE_OPTIONS "${flags}")
  target_link_libraries(${target} PUBLIC ${libraries})
  set(ODAXGEN_PLATFORM_LIBRARIES ${libraries} PARENT_SCOPE)
endfunction()

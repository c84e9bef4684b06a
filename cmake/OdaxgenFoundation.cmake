# The platform source on Foundation services: the system's on macOS, GNUstep's elsewhere.

enable_language(OBJCXX)

function(odaxgen_use_foundation target source)
  target_sources(${target} PRIVATE ${source})
  if(APPLE)
    target_link_libraries(${target} PUBLIC "-framework Foundation")
    return()
  endif()
  find_program(GNUSTEP_CONFIG gnustep-config REQUIRED)
  execute_process(COMMAND ${GNUSTEP_CONFIG} --objc-flags
    OUTPUT_VARIABLE flags OUTPUT_STRIP_TRAILING_WHITESPACE)
  execute_process(COMMAND ${GNUSTEP_CONFIG} --base-libs
    OUTPUT_VARIABLE libraries OUTPUT_STRIP_TRAILING_WHITESPACE)
  separate_arguments(flags UNIX_COMMAND "${flags}")
  # Keep what the headers need; optimisation and dependency flags are the build's own.
  list(FILTER flags INCLUDE REGEX "^-(D|I|fobjc|fconstant-string|fexceptions|fPIC|pthread)")
  separate_arguments(libraries UNIX_COMMAND "${libraries}")
  set_source_files_properties(${source} PROPERTIES COMPILE_OPTIONS "${flags}")
  target_link_libraries(${target} PUBLIC ${libraries})
endfunction()

# What `odaxgen --version` says: the version of the project and the revision of the checkout.

# Looks the revision up in every build, because a commit does not configure anew. The file that holds
# it is written only when it differs, so an unchanged tree compiles nothing.
function(odaxgen_add_revision target)
  set(folder ${CMAKE_CURRENT_BINARY_DIR}/revision)
  set(look_up ${CMAKE_COMMAND} -D SOURCE=${PROJECT_SOURCE_DIR} -D OUTPUT=${folder}/Revision.h
      -P ${PROJECT_SOURCE_DIR}/cmake/WriteRevision.cmake)
  # Once now: clang-tidy reads the sources of a tree that is never built.
  execute_process(COMMAND ${look_up})
  add_custom_target(${target}-revision COMMAND ${look_up}
    BYPRODUCTS ${folder}/Revision.h COMMENT "Looking up the revision" VERBATIM)
  add_dependencies(${target} ${target}-revision)
  # For the one source that needs it: other compile commands are then the same in every tree.
  set_source_files_properties(${PROJECT_SOURCE_DIR}/Tools/src/command/Version.cpp PROPERTIES
    INCLUDE_DIRECTORIES ${folder})
endfunction()

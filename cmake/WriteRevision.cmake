# Writes the revision of the checkout SOURCE into the header OUTPUT, unless it stands there already.
# Without a checkout of its own or without git the revision is empty.

# A hook of git may have these set, for another repository.
foreach(variable GIT_DIR GIT_WORK_TREE GIT_INDEX_FILE)
  unset(ENV{${variable}})
endforeach()

# A folder in a worktree of git has a file of this name. Sources that were unpacked below some other
# repository have none, and its revision says nothing about them.
set(revision "")
find_program(GIT git)
if(GIT AND EXISTS ${SOURCE}/.git)
  execute_process(COMMAND ${GIT} -C ${SOURCE} rev-parse --short=9 HEAD
    OUTPUT_VARIABLE revision OUTPUT_STRIP_TRAILING_WHITESPACE RESULT_VARIABLE failed ERROR_QUIET)
  if(failed)
    set(revision "")
  endif()
endif()

if(revision)
  execute_process(
    COMMAND ${GIT} --no-optional-locks -C ${SOURCE} status --porcelain --untracked-files=no
    OUTPUT_VARIABLE changes ERROR_QUIET)
  if(changes)
    string(APPEND revision "-dirty")
  endif()
endif()

set(text "#pragma once\n\ninline constexpr const char* kRevision = \"${revision}\";\n")
set(before "")
if(EXISTS ${OUTPUT})
  file(READ ${OUTPUT} before)
endif()
if(NOT before STREQUAL text)
  file(WRITE ${OUTPUT} "${text}")
endif()

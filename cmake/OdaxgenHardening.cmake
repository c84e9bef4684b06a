# Compiler and linker flags of release builds that stop a fault before it can be used: checked calls
# of the C library, guards in stack frames, addresses that differ in each run, tables that nobody can
# write to. A flag that the compiler or linker does not know is left out.

include(CheckCXXCompilerFlag)
include(CheckCXXSourceCompiles)
include(CheckLinkerFlag)
include(CheckPIESupported)

# Calls of the C library with known sizes are checked. Level 3 knows the sizes of more blocks; it
# needs compiler and C library. The checks are part of optimised code only, and a system's compiler
# may bring a level of its own.
function(odaxgen_find_fortify_level result)
  set(CMAKE_REQUIRED_FLAGS "-O2 -Werror -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=3")
  check_cxx_source_compiles("#include <cstring>
    int main() { return static_cast<int>(std::strlen(\"\")); }" ODAXGEN_HAS_FORTIFY_3)
  if(ODAXGEN_HAS_FORTIFY_3)
    set(${result} 3 PARENT_SCOPE)
  else()
    set(${result} 2 PARENT_SCOPE)
  endif()
endfunction()

set(ODAXGEN_HARDENING_COMPILE_OPTIONS "")
set(ODAXGEN_HARDENING_LINK_OPTIONS "")
if(ODAXGEN_HARDENING)
  check_pie_supported(LANGUAGES CXX)
  # -fcf-protection is x86's guard of jumps, -mbranch-protection that of 64-bit ARM.
  foreach(flag fstack-protector-strong fstack-clash-protection fcf-protection
      mbranch-protection=standard)
    string(MAKE_C_IDENTIFIER ODAXGEN_HAS_${flag} known)
    check_cxx_compiler_flag(-${flag} ${known})
    if(${known})
      list(APPEND ODAXGEN_HARDENING_COMPILE_OPTIONS -${flag})
    endif()
  endforeach()
  odaxgen_find_fortify_level(level)
  list(APPEND ODAXGEN_HARDENING_COMPILE_OPTIONS
    "$<$<NOT:$<CONFIG:Debug>>:SHELL:-U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=${level}>")
  foreach(flag relro now noexecstack)
    string(MAKE_C_IDENTIFIER ODAXGEN_HAS_Z_${flag} known)
    check_linker_flag(CXX LINKER:-z,${flag} ${known})
    if(${known})
      list(APPEND ODAXGEN_HARDENING_LINK_OPTIONS LINKER:-z,${flag})
    endif()
  endforeach()
endif()

# For each target that compiles or links. The containers of the standard library check their indices
# as well, unless the target's property ODAXGEN_UNCHECKED_CONTAINERS says no.
function(odaxgen_harden target)
  if(NOT ODAXGEN_HARDENING)
    return()
  endif()
  target_compile_options(${target} PRIVATE ${ODAXGEN_HARDENING_COMPILE_OPTIONS})
  get_target_property(unchecked ${target} ODAXGEN_UNCHECKED_CONTAINERS)
  if(NOT unchecked)
    target_compile_options(${target} PRIVATE -D_GLIBCXX_ASSERTIONS)
  endif()
  target_link_options(${target} PRIVATE ${ODAXGEN_HARDENING_LINK_OPTIONS})
  get_target_property(type ${target} TYPE)
  if(type STREQUAL "EXECUTABLE")
    set_target_properties(${target} PROPERTIES POSITION_INDEPENDENT_CODE ON)
  elseif(type STREQUAL "STATIC_LIBRARY")
    # For the command alone: calls within a library that nobody can replace stay direct ones.
    target_compile_options(${target} PRIVATE ${CMAKE_CXX_COMPILE_OPTIONS_PIE})
  endif()
endfunction()

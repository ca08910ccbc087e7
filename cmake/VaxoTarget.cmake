# vaxo_target(NAME): what every target of this project has in common: the
# language level, hidden symbols, warnings, and the sanitizers of the preset.

# Sanitizers and coverage change the ABI or the runtime of everything in the
# process, so they go on every target of this directory and below, GoogleTest's
# included.
if(VAXO_SANITIZE)
  add_compile_options(-fsanitize=${VAXO_SANITIZE} -fno-sanitize-recover=all
                      -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${VAXO_SANITIZE})
endif()
if(VAXO_COVERAGE)
  add_compile_options(--coverage -fprofile-update=atomic)  # threads count the same lines
  add_link_options(--coverage)
endif()

function(vaxo_target target)
  target_compile_features(${target} PUBLIC cxx_std_17)
  set_target_properties(${target} PROPERTIES
    CXX_EXTENSIONS OFF
    CXX_VISIBILITY_PRESET hidden
    VISIBILITY_INLINES_HIDDEN ON
    POSITION_INDEPENDENT_CODE ON)
  target_compile_options(${target} PRIVATE
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wold-style-cast
    -Woverloaded-virtual -Wnon-virtual-dtor)
  # A command's virtual operations are fixed and its destructor is not among them.
  # It is only ever destroyed as what it is; Clang warns wherever a shared pointer
  # to one is made, inside the standard library, where a pragma does not reach.
  target_compile_options(${target} PRIVATE
    $<$<CXX_COMPILER_ID:Clang,AppleClang>:-Wno-delete-non-abstract-non-virtual-dtor>)
  if(VAXO_WERROR)
    target_compile_options(${target} PRIVATE -Werror)
  endif()
endfunction()

# vaxo_stays_mapped(NAME): a shared library or module that this target goes into is
# never unmapped, because threads that run its code never stop. (The Apple linker has no
# such option; there a library with thread-local variables stays mapped.)
function(vaxo_stays_mapped target)
  if(NOT APPLE)
    set(type $<TARGET_PROPERTY:TYPE>)
    set(shared $<OR:$<STREQUAL:${type},SHARED_LIBRARY>,$<STREQUAL:${type},MODULE_LIBRARY>>)
    target_link_options(${target} INTERFACE $<${shared}:LINKER:-z,nodelete>)
  endif()
endfunction()

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

# Compiler settings shared by every target of the project.
add_compile_options(-Wall -Wextra)
if(KVX_SANITIZE)
  add_compile_options(-fsanitize=address,undefined -fno-omit-frame-pointer -fno-sanitize-recover=undefined)
  add_link_options(-fsanitize=address,undefined)
endif()
if(KVX_COVERAGE)
  add_compile_options(--coverage)
  add_link_options(--coverage)
endif()
# The fuzz build instruments every target for coverage; only the harnesses link the fuzzer's main.
if(KVX_FUZZ)
  add_compile_options(-fsanitize=fuzzer-no-link,address,undefined -fno-omit-frame-pointer
                      -fno-sanitize-recover=undefined)
  add_link_options(-fsanitize=address,undefined)
endif()

# kvx_shared_library(name ...sources): a shared library placed beside the others in bin/, versioned by
# the project's version.
function(kvx_shared_library name)
  add_library(${name} SHARED ${ARGN})
  set_target_properties(${name} PROPERTIES BUILD_RPATH "$ORIGIN" INSTALL_RPATH "$ORIGIN"
                                           VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR})
endfunction()

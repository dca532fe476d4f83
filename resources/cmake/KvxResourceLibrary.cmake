# kvx_add_resource_library(LANGUAGE <folder-name> TABLE <file> [PICTURES <dir>...]
#                          [REFERENCE <table>] [TARGET <name>] [OUTPUT_DIRECTORY <dir>])
#
# Builds the resource library KVXIMRulesResu of one language from its string table and pictures,
# as ${KVX_RESOURCE_ROOT}/<LANGUAGE>/libKVXIMRulesResu.so, target KVXIMRulesResu_<LANGUAGE>.
# PICTURES folders are searched in order (the language's own drawings before the shared ones);
# folders that do not exist yet are skipped, and adding one later is picked up by the next build.
# REFERENCE names the English table a translation must match: the same ids and placeholders, and no
# English text left unmarked (each mismatch fails the build, naming file, line and id).
# TARGET and OUTPUT_DIRECTORY override the defaults, for libraries built only for tests.
function(kvx_add_resource_library)
  cmake_parse_arguments(PARSE_ARGV 0 ARG "" "LANGUAGE;TABLE;REFERENCE;TARGET;OUTPUT_DIRECTORY" "PICTURES")
  if(NOT ARG_LANGUAGE OR NOT ARG_TABLE)
    message(FATAL_ERROR "kvx_add_resource_library needs LANGUAGE and TABLE")
  endif()
  if(ARG_UNPARSED_ARGUMENTS)
    message(FATAL_ERROR "kvx_add_resource_library: unexpected arguments ${ARG_UNPARSED_ARGUMENTS}")
  endif()
  set(target KVXIMRulesResu_${ARG_LANGUAGE})
  if(ARG_TARGET)
    set(target ${ARG_TARGET})
  endif()
  set(output_dir ${KVX_RESOURCE_ROOT}/${ARG_LANGUAGE})
  if(ARG_OUTPUT_DIRECTORY)
    set(output_dir ${ARG_OUTPUT_DIRECTORY})
  endif()

  cmake_path(ABSOLUTE_PATH ARG_TABLE BASE_DIRECTORY ${CMAKE_CURRENT_SOURCE_DIR} NORMALIZE OUTPUT_VARIABLE table)
  set(command_args --table ${table})
  set(depends ${table})
  if(ARG_REFERENCE)
    cmake_path(ABSOLUTE_PATH ARG_REFERENCE BASE_DIRECTORY ${CMAKE_CURRENT_SOURCE_DIR} NORMALIZE
               OUTPUT_VARIABLE reference)
    list(APPEND command_args --reference ${reference})
    list(APPEND depends ${reference})
  endif()
  foreach(folder IN LISTS ARG_PICTURES)
    cmake_path(ABSOLUTE_PATH folder BASE_DIRECTORY ${CMAKE_CURRENT_SOURCE_DIR} NORMALIZE)
    # Globbed also while the folder is missing, so that its first picture re-runs the configuration.
    file(GLOB pictures CONFIGURE_DEPENDS ${folder}/*)
    if(IS_DIRECTORY ${folder})
      list(APPEND command_args --pictures ${folder})
      list(APPEND depends ${pictures})
    endif()
  endforeach()

  set(generated ${CMAKE_CURRENT_BINARY_DIR}/${target}/ResourceData.cpp)
  add_custom_command(
    OUTPUT ${generated}
    COMMAND kvx_rescomp ${command_args} --output ${generated}
    DEPENDS kvx_rescomp ${depends}
    COMMENT "Compiling the ${ARG_LANGUAGE} resource table"
    VERBATIM)

  set(runtime_dir ${CMAKE_CURRENT_FUNCTION_LIST_DIR}/../src)
  add_library(${target} SHARED ${generated} ${runtime_dir}/ResourceExports.cpp)
  target_include_directories(${target} PRIVATE ${runtime_dir})
  set_target_properties(${target} PROPERTIES
    OUTPUT_NAME KVXIMRulesResu
    LIBRARY_OUTPUT_DIRECTORY ${output_dir})
  # A resource library stands alone: every symbol it needs must be resolved when it is linked.
  target_link_options(${target} PRIVATE LINKER:--no-undefined)
  # Installed by language under the resource root; libraries built for tests stay in the build tree.
  if(NOT ARG_OUTPUT_DIRECTORY)
    install(TARGETS ${target} LIBRARY DESTINATION ${KVX_INSTALL_RESOURCE_ROOT}/${ARG_LANGUAGE})
  endif()
endfunction()

# Bundles: directories with an Info.json that programs load models, mappings and texts from. They are put together
# under share/CoreDataStack of the build tree and installed to the same place, so that a program finds them by one
# path relative to itself in both.

set(COREDATASTACK_RESOURCE_DIR "${CoreDataStack_BINARY_DIR}/share/CoreDataStack")
set(COREDATASTACK_MODEL_BUNDLE_IDENTIFIER "com.tessaline.coredata")
# The group of the application and its extensions, whose container held photos before version 7.
set(COREDATASTACK_APP_GROUP_IDENTIFIER "group.com.tessaline.habits")

# Tells a library where bundles lie when they are not beside the program: in the build tree, and in the installed one.
function(cds_define_resource_directories target)
  target_compile_definitions(
    ${target} PRIVATE COREDATASTACK_BUILD_RESOURCE_DIR="${COREDATASTACK_RESOURCE_DIR}"
                      COREDATASTACK_INSTALL_RESOURCE_DIR="${CMAKE_INSTALL_FULL_DATADIR}/CoreDataStack")
endfunction()

# The command that runs the model compiler, and what a step that uses it depends on.
function(cds_model_compiler command dependency)
  if(COREDATASTACK_MODELC)
    set(${command} "${COREDATASTACK_MODELC}" PARENT_SCOPE)
    set(${dependency} "${COREDATASTACK_MODELC}" PARENT_SCOPE)
  else()
    set(${command} modelc PARENT_SCOPE)
    set(${dependency} modelc PARENT_SCOPE)
  endif()
endfunction()

# cds_add_bundle(<name> IDENTIFIER <identifier>
#                [MODEL <name> VERSIONS <source>... CURRENT <version name>]
#                [MAPPINGS <source>... BETWEEN <model source>...] [TABLES <directory>.lproj...])
# Makes a bundle that is named as its identifier ends, by which it is found at once, and a target <name>Bundle that
# builds it. Paths are relative to the calling folder.
#   MODEL     Model.momd/ with every version compiled to a readable .mom and an optimised .omo, and the list of
#             versions with the current one's name in Info.json
#   MAPPINGS  each source checked against the versions BETWEEN which it leads, and compiled to a .cdm
#   TABLES    folders of texts, one a language, copied as they are
function(cds_add_bundle name)
  cmake_parse_arguments(ARG "" "IDENTIFIER;MODEL;CURRENT" "VERSIONS;MAPPINGS;BETWEEN;TABLES" ${ARGN})
  string(REGEX REPLACE "^.*\\." "" directory "${ARG_IDENTIFIER}")
  set(bundle "${COREDATASTACK_RESOURCE_DIR}/${directory}.bundle")
  file(CONFIGURE OUTPUT "${bundle}/Info.json" @ONLY
       CONTENT "{\"identifier\": \"${ARG_IDENTIFIER}\", \"name\": \"${name}\"}\n")
  set(outputs)

  if(ARG_MODEL)
    _cds_compile_model(outputs "${bundle}/${ARG_MODEL}.momd" "${ARG_CURRENT}" ${ARG_VERSIONS})
  endif()

  foreach(source IN LISTS ARG_MAPPINGS)
    cmake_path(GET source STEM LAST_ONLY mapping)
    _cds_compile_mapping(outputs "${source}" "${bundle}/${mapping}.cdm" ${ARG_BETWEEN})
  endforeach()

  foreach(tables IN LISTS ARG_TABLES)
    _cds_copy_tables(outputs "${tables}" "${bundle}")
  endforeach()

  add_custom_target(${name}Bundle ALL DEPENDS ${outputs})
  set_property(GLOBAL APPEND PROPERTY CDS_BUNDLES "${bundle}")
endfunction()

# One run of the compiler for all versions, which it checks against each other; appends the files that it writes to the
# caller's list `made`.
function(_cds_compile_model made directory current)
  cds_model_compiler(command dependency)
  set(sources)
  set(outputs "${directory}/Info.json")
  foreach(source IN LISTS ARGN)
    cmake_path(GET source STEM LAST_ONLY version)
    cmake_path(ABSOLUTE_PATH source)
    list(APPEND sources "${source}")
    list(APPEND outputs "${directory}/${version}.mom" "${directory}/${version}.omo")
  endforeach()
  cmake_path(GET directory FILENAME display)
  add_custom_command(
    OUTPUT ${outputs}
    COMMAND ${command} compile ${sources} --output "${directory}" --current "${current}"
    DEPENDS ${sources} ${dependency}
    COMMENT "Compiling ${display}"
    VERBATIM)
  set(${made} ${${made}} ${outputs} PARENT_SCOPE)
endfunction()

# One run of the compiler for one mapping, whose versions' sources are named last; appends the file that it writes to the
# caller's list `made`.
function(_cds_compile_mapping made source output)
  cds_model_compiler(command dependency)
  cmake_path(ABSOLUTE_PATH source)
  set(models)
  foreach(model IN LISTS ARGN)
    cmake_path(ABSOLUTE_PATH model)
    list(APPEND models "${model}")
  endforeach()
  cmake_path(GET output FILENAME display)
  add_custom_command(
    OUTPUT "${output}"
    COMMAND ${command} map "${source}" --models ${models} --output "${output}"
    DEPENDS "${source}" ${models} ${dependency}
    COMMENT "Compiling ${display}"
    VERBATIM)
  set(${made} ${${made}} "${output}" PARENT_SCOPE)
endfunction()

function(_cds_copy_tables made tables bundle)
  cmake_path(ABSOLUTE_PATH tables)
  cmake_path(GET tables FILENAME language)
  file(GLOB files CONFIGURE_DEPENDS "${tables}/*")
  foreach(file IN LISTS files)
    cmake_path(GET file FILENAME filename)
    set(copy "${bundle}/${language}/${filename}")
    add_custom_command(
      OUTPUT "${copy}"
      COMMAND ${CMAKE_COMMAND} -E copy "${file}" "${copy}"
      DEPENDS "${file}"
      COMMENT "Copying ${language}/${filename}"
      VERBATIM)
    list(APPEND copies "${copy}")
  endforeach()
  set(${made} ${${made}} ${copies} PARENT_SCOPE)
endfunction()

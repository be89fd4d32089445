# kiv_add_message_catalog(<target> SOURCES <file.msg>... [OUTPUT <file.cat>])
#
# Builds a message catalog file with gencat from one or more message sources
# (gencat merges them; a message number must not occur twice in one set, or
# the build fails) and adds the custom target <target>, part of the default
# build, that
# keeps the catalog up to date. OUTPUT defaults to <target>.cat in the current
# binary directory; relative paths are taken from the current source and
# binary directories. The target's property KIV_CATALOG_FILE holds the path of
# the catalog, for example to hand it to a program or an install rule:
#
#   kiv_add_message_catalog(mytool_de SOURCES mytool.msg kiv_library_de.msg)
#   install(FILES $<TARGET_PROPERTY:mytool_de,KIV_CATALOG_FILE> DESTINATION share/mytool)
#
# The catalog is rebuilt from scratch each time (gencat would otherwise merge
# new sources into the old catalog and keep messages that were removed), in
# a file of its own that replaces the catalog only when gencat succeeded, so
# a failed build never leaves a half-made catalog behind.
include_guard(GLOBAL)

function(kiv_add_message_catalog target)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "OUTPUT" "SOURCES")
  if(arg_UNPARSED_ARGUMENTS)
    message(FATAL_ERROR "kiv_add_message_catalog: unknown arguments: ${arg_UNPARSED_ARGUMENTS}")
  endif()
  if(NOT arg_SOURCES)
    message(FATAL_ERROR "kiv_add_message_catalog(${target}): SOURCES is required")
  endif()
  find_program(KIV_GENCAT_EXECUTABLE gencat)
  if(NOT KIV_GENCAT_EXECUTABLE)
    message(FATAL_ERROR "kiv_add_message_catalog: gencat not found (Debian package libc-bin)")
  endif()

  if(NOT arg_OUTPUT)
    set(arg_OUTPUT ${target}.cat)
  endif()
  cmake_path(ABSOLUTE_PATH arg_OUTPUT BASE_DIRECTORY ${CMAKE_CURRENT_BINARY_DIR})
  set(sources)
  foreach(source IN LISTS arg_SOURCES)
    cmake_path(ABSOLUTE_PATH source BASE_DIRECTORY ${CMAKE_CURRENT_SOURCE_DIR})
    list(APPEND sources ${source})
  endforeach()

  set(partial ${arg_OUTPUT}.partial)
  add_custom_command(OUTPUT ${arg_OUTPUT}
    COMMAND ${CMAKE_COMMAND} -E rm -f ${partial}
    COMMAND ${KIV_GENCAT_EXECUTABLE} ${partial} ${sources}
    COMMAND ${CMAKE_COMMAND} -E rename ${partial} ${arg_OUTPUT}
    DEPENDS ${sources}
    COMMENT "Building message catalog ${arg_OUTPUT}"
    VERBATIM)
  add_custom_target(${target} ALL DEPENDS ${arg_OUTPUT})
  set_target_properties(${target} PROPERTIES KIV_CATALOG_FILE ${arg_OUTPUT})
endfunction()

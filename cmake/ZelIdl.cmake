# zel_generate_type_support(<out-var> IDL <files...> [INCLUDE_DIRS <dirs...>]
#                           [EXPORT_MACRO <macro>] [EXPORT_HEADER <header>]
#                           [PLUGIN_TYPES <scoped names...>] [TYPE_TABLE]
#                           [RENAME_MODULES <from=to...>] [OUTPUT_BASENAME <name>]
#                           [LAYOUT_TABLE] [OUTPUT_DIR <dir>])
#
# Runs zelidl at build time on each IDL file, into OUTPUT_DIR (default
# <current binary dir>/generated). Sets <out-var> to the generated headers
# and sources and <out-var>_INCLUDE_DIR to the directory that holds them.
# Each file yields <base>.h, <base>.cpp and <base>Plugin.cpp (and
# <base>_types.inc with TYPE_TABLE, <base>_layout.inc with LAYOUT_TABLE);
# <base> is the IDL file's name, or OUTPUT_BASENAME (one IDL file only).
# RENAME_MODULES names the types of module `from` as if declared in `to`.
# Files with keyed structs or PLUGIN_TYPES register their plug-ins through
# the DDS API: their code must link vurnc.
# An output is rebuilt when its IDL file or any file it includes changes.
function(zel_generate_type_support out_var)
  cmake_parse_arguments(ARG "TYPE_TABLE;LAYOUT_TABLE" "EXPORT_MACRO;EXPORT_HEADER;OUTPUT_DIR;OUTPUT_BASENAME"
                        "IDL;INCLUDE_DIRS;PLUGIN_TYPES;RENAME_MODULES" ${ARGN})
  if(NOT ARG_IDL)
    message(FATAL_ERROR "zel_generate_type_support: no IDL files given")
  endif()
  list(LENGTH ARG_IDL idl_count)
  if(ARG_OUTPUT_BASENAME AND idl_count GREATER 1)
    message(FATAL_ERROR "zel_generate_type_support: OUTPUT_BASENAME names the outputs of one IDL file")
  endif()
  if(NOT ARG_OUTPUT_DIR)
    set(ARG_OUTPUT_DIR ${CMAKE_CURRENT_BINARY_DIR}/generated)
  endif()
  file(MAKE_DIRECTORY ${ARG_OUTPUT_DIR})

  set(options)
  foreach(dir IN LISTS ARG_INCLUDE_DIRS)
    get_filename_component(abs_dir ${dir} ABSOLUTE)
    list(APPEND options -I ${abs_dir})
  endforeach()
  if(ARG_EXPORT_MACRO)
    list(APPEND options --export-macro ${ARG_EXPORT_MACRO})
  endif()
  if(ARG_EXPORT_HEADER)
    list(APPEND options --export-header ${ARG_EXPORT_HEADER})
  endif()
  foreach(type IN LISTS ARG_PLUGIN_TYPES)
    list(APPEND options --plugin-type ${type})
  endforeach()
  if(ARG_TYPE_TABLE)
    list(APPEND options --type-table)
  endif()
  if(ARG_LAYOUT_TABLE)
    list(APPEND options --layout-table)
  endif()
  foreach(rename IN LISTS ARG_RENAME_MODULES)
    list(APPEND options --rename-module ${rename})
  endforeach()
  if(ARG_OUTPUT_BASENAME)
    list(APPEND options --output-basename ${ARG_OUTPUT_BASENAME})
  endif()

  set(generated)
  foreach(idl IN LISTS ARG_IDL)
    get_filename_component(abs_idl ${idl} ABSOLUTE)
    get_filename_component(base ${idl} NAME_WE)
    if(ARG_OUTPUT_BASENAME)
      set(base ${ARG_OUTPUT_BASENAME})
    endif()
    set(outputs ${ARG_OUTPUT_DIR}/${base}.h ${ARG_OUTPUT_DIR}/${base}.cpp ${ARG_OUTPUT_DIR}/${base}Plugin.cpp)
    if(ARG_TYPE_TABLE)
      list(APPEND outputs ${ARG_OUTPUT_DIR}/${base}_types.inc)
    endif()
    if(ARG_LAYOUT_TABLE)
      list(APPEND outputs ${ARG_OUTPUT_DIR}/${base}_layout.inc)
    endif()
    add_custom_command(
      OUTPUT ${outputs}
      COMMAND zelidl ${options} -o ${ARG_OUTPUT_DIR} --depfile ${ARG_OUTPUT_DIR}/${base}.d ${abs_idl}
      DEPENDS ${abs_idl} zelidl
      DEPFILE ${ARG_OUTPUT_DIR}/${base}.d
      COMMENT "Generating type support ${base} from ${idl}"
      VERBATIM)
    list(APPEND generated ${outputs})
  endforeach()

  set(${out_var} ${generated} PARENT_SCOPE)
  set(${out_var}_INCLUDE_DIR ${ARG_OUTPUT_DIR} PARENT_SCOPE)
endfunction()

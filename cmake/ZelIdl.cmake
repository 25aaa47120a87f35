# zel_generate_type_support(<out-var> IDL <files...> [INCLUDE_DIRS <dirs...>]
#                           [EXPORT_MACRO <macro>] [EXPORT_HEADER <header>]
#                           [PLUGIN_TYPES <scoped names...>] [TYPE_TABLE]
#                           [OUTPUT_DIR <dir>])
#
# Runs zelidl at build time on each IDL file, into OUTPUT_DIR (default
# <current binary dir>/generated). Sets <out-var> to the generated headers
# and sources and <out-var>_INCLUDE_DIR to the directory that holds them.
# Each file yields <base>.h, <base>.cpp and <base>Plugin.cpp (and
# <base>_types.inc with TYPE_TABLE); an output is rebuilt when its IDL file
# or any file it includes changes.
function(zel_generate_type_support out_var)
  cmake_parse_arguments(ARG "TYPE_TABLE" "EXPORT_MACRO;EXPORT_HEADER;OUTPUT_DIR" "IDL;INCLUDE_DIRS;PLUGIN_TYPES"
                        ${ARGN})
  if(NOT ARG_IDL)
    message(FATAL_ERROR "zel_generate_type_support: no IDL files given")
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

  set(generated)
  foreach(idl IN LISTS ARG_IDL)
    get_filename_component(abs_idl ${idl} ABSOLUTE)
    get_filename_component(base ${idl} NAME_WE)
    set(outputs ${ARG_OUTPUT_DIR}/${base}.h ${ARG_OUTPUT_DIR}/${base}.cpp ${ARG_OUTPUT_DIR}/${base}Plugin.cpp)
    if(ARG_TYPE_TABLE)
      list(APPEND outputs ${ARG_OUTPUT_DIR}/${base}_types.inc)
    endif()
    add_custom_command(
      OUTPUT ${outputs}
      COMMAND zelidl ${options} -o ${ARG_OUTPUT_DIR} --depfile ${ARG_OUTPUT_DIR}/${base}.d ${abs_idl}
      DEPENDS ${abs_idl} zelidl
      DEPFILE ${ARG_OUTPUT_DIR}/${base}.d
      COMMENT "Generating type support for ${base}.idl"
      VERBATIM)
    list(APPEND generated ${outputs})
  endforeach()

  set(${out_var} ${generated} PARENT_SCOPE)
  set(${out_var}_INCLUDE_DIR ${ARG_OUTPUT_DIR} PARENT_SCOPE)
endfunction()

# qv_add_resources(TARGET description ...): gives a target its own module resources, on both
# platforms, from the descriptions (data/module_resources.txt shows the form).
#
# The resource tool checks the data and writes, into the build folder, either the .rc and the binary
# files that windres compiles, or the pack and the assembler source that puts it into the section
# ".qvres". It runs on the building machine, so it is built with that machine's compiler.
#
# The object is made here and not by CMake's own rules, so that neither warning nor sanitizer flags
# of the target reach it, and every caller's folder works alike.
find_program(QV_BUILD_CXX NAMES g++ c++ clang++ REQUIRED)
set(QV_RESOURCE_TOOL ${CMAKE_BINARY_DIR}/tools/qvresource)

function(qv_add_resources target)
  qv_resource_object(${target} object ${ARGN})
  target_sources(${target} PRIVATE ${object})
endfunction()

# qv_resource_object(NAME VARIABLE description ...): the object by itself; its path is put into the
# variable.
function(qv_resource_object target variable)
  set(folder ${CMAKE_BINARY_DIR}/resources/${target})
  set(descriptions)
  foreach(description ${ARGN})
    get_filename_component(description ${description} ABSOLUTE)
    list(APPEND descriptions ${description})
  endforeach()
  set(object ${folder}/resources.o)
  if(WIN32)
    set(form rc)
    set(source ${folder}/resources.rc)
    set(compile ${CMAKE_RC_COMPILER} -O coff ${source} ${object})
  else()
    set(form pack)
    set(source ${folder}/resources.S)
    set(compile ${CMAKE_C_COMPILER} -c ${source} -o ${object})
  endif()
  add_custom_command(OUTPUT ${object}
    COMMAND ${CMAKE_COMMAND} -E make_directory ${folder}
    COMMAND ${QV_RESOURCE_TOOL} --form ${form} --depend ${folder}/resources.d --target ${object}
            --output ${source} ${descriptions}
    COMMAND ${compile}
    DEPENDS ${descriptions} ${QV_RESOURCE_TOOL}
    DEPFILE ${folder}/resources.d
    COMMENT "Resources of ${target}" VERBATIM)
  set(${variable} ${object} PARENT_SCOPE)
endfunction()

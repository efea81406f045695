# qv_add_resources(TARGET description ...): gives a target its own module resources, on both
# platforms, from the descriptions (data/module_resources.txt shows the form).
#
# The resource tool checks the data and writes, into the build folder, either the .rc and the binary
# files that windres links, or the pack and the assembler source that puts it into the section
# ".qvres". It runs on the building machine, so it is built with that machine's compiler.
find_program(QV_BUILD_CXX NAMES g++ c++ clang++ REQUIRED)
set(QV_RESOURCE_TOOL ${CMAKE_BINARY_DIR}/tools/qvresource)

function(qv_add_resources target)
  set(folder ${CMAKE_BINARY_DIR}/resources/${target})
  set(descriptions)
  foreach(description ${ARGN})
    get_filename_component(description ${description} ABSOLUTE)
    list(APPEND descriptions ${description})
  endforeach()
  if(WIN32)
    set(output ${folder}/resources.rc)
    set(form rc)
  else()
    set(output ${folder}/resources.S)
    set(form pack)
  endif()
  add_custom_command(OUTPUT ${output}
    COMMAND ${CMAKE_COMMAND} -E make_directory ${folder}
    COMMAND ${QV_RESOURCE_TOOL} --form ${form} --depend ${folder}/resources.d --output ${output}
            ${descriptions}
    DEPENDS ${descriptions} ${QV_RESOURCE_TOOL}
    DEPFILE ${folder}/resources.d
    COMMENT "Resources of ${target}" VERBATIM)
  target_sources(${target} PRIVATE ${output})
  if(WIN32)
    set_source_files_properties(${output} PROPERTIES LANGUAGE RC)
  else()
    set_source_files_properties(${output} PROPERTIES LANGUAGE C
      COMPILE_OPTIONS "-x;assembler-with-cpp")
  endif()
endfunction()

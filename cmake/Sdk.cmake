# qv_sdk(component ...): what a program outside the tree needs, in build/PRESET/sdk:
#   include/                 the public headers, in their folders
#   lib/libqvsmapi.a         the components as one archive
#   lib/qvsmapi_resources.o  the library's own resources, linked into the program
#   lib/pkgconfig/           qvsmapi.pc: g++ main.cc $(pkg-config --cflags --libs qvsmapi)
#   bin/, share/data/        the resource tool and the library's descriptions, for a program that
#                            has resources of its own: give both to the tool, link its object instead
# Elsewhere than on Windows lib/ also holds the platform's shared library.
function(qv_sdk)
  set(sdk ${CMAKE_BINARY_DIR}/sdk)
  set(headers)
  foreach(folder base containers format/encodings text app diag/system memory tasks files resources
          format time net app/ui platform platform/host)
    file(GLOB folder_headers CONFIGURE_DEPENDS RELATIVE ${CMAKE_SOURCE_DIR}
      ${CMAKE_SOURCE_DIR}/${folder}/*.h)
    list(APPEND headers ${folder_headers})
  endforeach()
  # Faults and frozen time are for tests.
  list(REMOVE_ITEM headers platform/host/control.h)

  qv_resource_object(sdk resources ${CMAKE_SOURCE_DIR}/data/module_resources.txt)

  set(archive ${sdk}/lib/libqvsmapi.a)
  set(script "create ${archive}\n")
  set(archives)
  foreach(component ${ARGN})
    string(APPEND script "addlib $<TARGET_FILE:${component}>\n")
    list(APPEND archives $<TARGET_FILE:${component}>)
  endforeach()
  file(GENERATE OUTPUT ${CMAKE_BINARY_DIR}/sdk.mri CONTENT "${script}save\nend\n")

  set(libraries "-lqvsmapi -lqvsmapi_host -Wl,-rpath,\${libdir}")
  set(shared)
  if(WIN32)
    set(libraries "-lqvsmapi -luser32 -lgdi32 -ladvapi32 -lshell32 -lmpr -static")
  else()
    set(shared COMMAND ${CMAKE_COMMAND} -E copy_if_different $<TARGET_FILE:qvsmapi_host> ${sdk}/lib)
  endif()
  file(CONFIGURE OUTPUT ${sdk}/lib/pkgconfig/qvsmapi.pc @ONLY CONTENT
"prefix=\${pcfiledir}/../..
libdir=\${prefix}/lib
Name: qvsmapi
Description: the framework behind the mail library
Version: @PROJECT_VERSION@
Cflags: -std=c++20 -I\${prefix}/include
Libs: \${libdir}/qvsmapi_resources.o -L\${libdir} @libraries@
")

  set(stamp ${CMAKE_BINARY_DIR}/sdk.stamp)
  set(copies)
  foreach(header ${headers})
    get_filename_component(folder ${header} DIRECTORY)
    list(APPEND copies COMMAND ${CMAKE_COMMAND} -E make_directory ${sdk}/include/${folder}
      COMMAND ${CMAKE_COMMAND} -E copy_if_different ${CMAKE_SOURCE_DIR}/${header} ${sdk}/include/${folder})
  endforeach()
  list(TRANSFORM headers PREPEND ${CMAKE_SOURCE_DIR}/ OUTPUT_VARIABLE header_paths)
  add_custom_command(OUTPUT ${stamp}
    COMMAND ${CMAKE_COMMAND} -E rm -rf ${sdk}/include ${archive}
    COMMAND ${CMAKE_COMMAND} -E make_directory ${sdk}/lib ${sdk}/bin ${sdk}/share
    ${copies}
    COMMAND sh -c "${CMAKE_AR} -M < ${CMAKE_BINARY_DIR}/sdk.mri"
    COMMAND ${CMAKE_COMMAND} -E copy_if_different ${resources} ${sdk}/lib/qvsmapi_resources.o
    COMMAND ${CMAKE_COMMAND} -E copy_if_different ${QV_RESOURCE_TOOL} ${sdk}/bin
    COMMAND ${CMAKE_COMMAND} -E copy_directory ${CMAKE_SOURCE_DIR}/data ${sdk}/share/data
    ${shared}
    COMMAND ${CMAKE_COMMAND} -E touch ${stamp}
    DEPENDS ${archives} ${resources} ${header_paths} ${QV_RESOURCE_TOOL}
    COMMENT "Putting build/.../sdk together" VERBATIM)
  add_custom_target(sdk ALL DEPENDS ${stamp})
endfunction()

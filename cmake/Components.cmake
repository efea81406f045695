# qv_component(NAME [component ...]): the sources of this folder as one static library. It may use
# the components named and, through them, those below.
function(qv_component name)
  file(GLOB sources CONFIGURE_DEPENDS *.cc)
  add_library(${name} STATIC ${sources})
  target_link_libraries(${name} PUBLIC qv_flags ${ARGN})
endfunction()

# qv_program(NAME SOURCES file ... LINK component ... RESOURCES description ...): a program with its
# own resources.
function(qv_program name)
  cmake_parse_arguments(arg "" "" "SOURCES;LINK;RESOURCES" ${ARGN})
  add_executable(${name} ${arg_SOURCES})
  target_link_libraries(${name} PRIVATE qv_flags ${arg_LINK})
  qv_set_rpath(${name})
  if(arg_RESOURCES)
    qv_add_resources(${name} ${arg_RESOURCES})
  endif()
endfunction()

# Everything that we build finds the platform's shared library beside itself.
function(qv_set_rpath name)
  set_target_properties(${name} PROPERTIES BUILD_RPATH "\$ORIGIN" INSTALL_RPATH "\$ORIGIN"
    BUILD_RPATH_USE_ORIGIN ON)
endfunction()

# qv_test(NAME LINK component ... [RESOURCES description ...] [HOST_ONLY]): the *_test.cc files of
# this folder as one suite and one ctest entry. HOST_ONLY leaves the suite out on Windows; a file
# whose name ends in _host_test.cc is left out there by itself (it sets faults).
function(qv_test name)
  cmake_parse_arguments(arg "HOST_ONLY" "" "LINK;RESOURCES" ${ARGN})
  if(WIN32 AND arg_HOST_ONLY)
    return()
  endif()
  file(GLOB sources CONFIGURE_DEPENDS *_test.cc)
  if(WIN32)
    list(FILTER sources EXCLUDE REGEX "_host_test\\.cc$")
  endif()
  if(NOT arg_RESOURCES)
    set(arg_RESOURCES ${CMAKE_SOURCE_DIR}/tests/test_resources.txt
      ${CMAKE_SOURCE_DIR}/data/module_resources.txt)
  endif()
  qv_program(${name} SOURCES ${sources} LINK test_main ${arg_LINK} RESOURCES ${arg_RESOURCES})
  target_compile_options(${name} PRIVATE -Wno-conversion)
  if(QV_SANITIZE MATCHES address)
    # With AddressSanitizer the optimizer takes three times as long for a test as all else does. What
    # is tested stays optimized.
    target_compile_options(${name} PRIVATE -O0)
  endif()
  add_test(NAME ${name} COMMAND ${name})
endfunction()

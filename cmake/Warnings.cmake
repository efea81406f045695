# Flags of our own code: warnings are errors. Third-party targets do not get them.
add_library(qv_flags INTERFACE)
target_compile_options(qv_flags INTERFACE
  -Wall -Wextra -Wpedantic -Werror -Wshadow -Wconversion -Wno-sign-conversion -Wundef
  -Wnon-virtual-dtor -Woverloaded-virtual -Wimplicit-fallthrough -fno-omit-frame-pointer)
target_include_directories(qv_flags INTERFACE ${CMAKE_SOURCE_DIR})

if(WIN32)
  target_compile_options(qv_flags INTERFACE -gdwarf-4 -msse2 -mstackrealign)
  # Programs and the library need nothing beside them; a fiber reserves a whole default stack.
  add_link_options(-static -Wl,--stack,1048576)
endif()
if(QV_SANITIZE)
  add_compile_options(-fsanitize=${QV_SANITIZE} -fno-sanitize-recover=all)
  add_link_options(-fsanitize=${QV_SANITIZE})
endif()

# host_image_library(NAME NAMESPACE sources...)
#
# A UEFI image other than the driver (the INI parser, the HII provider, the
# client tool), built for the simulator: its sources and its own copy of the
# C runtime in one static library. On firmware every image links its own
# runtime and so has its own heap list, streams and environment; in the one
# host process that separation is kept by compiling this copy with the
# runtime's namespace renamed (crt -> NAMESPACE), so loading, starting or
# resetting one image never touches another image's runtime state.
function(host_image_library NAME NAMESPACE)
  set(runtime)
  foreach(source ${RUNTIME_SOURCES})
    list(APPEND runtime ${CMAKE_SOURCE_DIR}/${source})
  endforeach()
  add_library(${NAME} STATIC ${ARGN} ${runtime})
  # The shared libraries an image compiles in (the INI contract) call its
  # runtime, so they are renamed with it: each image keeps its own copy.
  target_compile_definitions(${NAME} PRIVATE crt=${NAMESPACE} inicontract=${NAMESPACE}_inicontract)
  target_link_libraries(${NAME} PUBLIC host_flags ${LIBEFI})
endfunction()

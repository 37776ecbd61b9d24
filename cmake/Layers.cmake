# orlinths_layer(NAME [SEES layer...] [USES library...])
#
# One static library for src/NAME. Its include root is a folder of its own in the build tree that holds one link, NAME ->
# src/NAME, so that `#include "host/Dialog.h"` is found only by a layer that lists `host` in SEES: an include that points up
# the house ends in "No such file". With one shared root the link lists would enforce nothing.
# USES are private to the layer: GDAL, GEOS and PROJ headers reach src/gdal alone.
# A layer whose folder holds no .cpp yet is an interface library.
function(orlinths_layer name)
  cmake_parse_arguments(layer "" "" "SEES;USES" ${ARGN})
  set(root ${CMAKE_BINARY_DIR}/include/${name})
  file(MAKE_DIRECTORY ${root})
  file(CREATE_LINK ${CMAKE_SOURCE_DIR}/src/${name} ${root}/${name} SYMBOLIC)

  file(GLOB sources CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/src/${name}/*.cpp)
  if(sources)
    add_library(${name} STATIC ${sources})
    set(scope PUBLIC)
    target_link_libraries(${name} PRIVATE house_flags ${layer_USES} Threads::Threads)
  else()
    add_library(${name} INTERFACE)
    set(scope INTERFACE)
  endif()
  target_include_directories(${name} ${scope} ${root})
  target_link_libraries(${name} ${scope} ${layer_SEES})
endfunction()

# orlinths_headers_alone(NAME): every header of src/NAME is compiled by itself, twice over, seeing what its layer sees. A header that
# leans on what its users happened to include before it breaks the build.
function(orlinths_headers_alone name)
  file(GLOB headers CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/src/${name}/*.h)
  set(sources)
  foreach(header IN LISTS headers)
    get_filename_component(file ${header} NAME)
    set(source ${CMAKE_BINARY_DIR}/headers/${name}/${file}.cpp)
    set(text "#include \"${name}/${file}\"\n#include \"${name}/${file}\"\n")
    file(CONFIGURE OUTPUT ${source} CONTENT "${text}" @ONLY)
    list(APPEND sources ${source})
  endforeach()
  if(sources)
    add_library(${name}_headers OBJECT ${sources})
    target_link_libraries(${name}_headers PRIVATE ${name} house_flags ${ARGN})
  endif()
endfunction()

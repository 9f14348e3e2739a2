# velmorant_floor(NAME [DEPENDS target…]): the library of one floor, made of every source below the calling folder.
# Headers are public and verified to compile alone, except those named *-inl.hpp, which may include what they like.
function(velmorant_floor name)
  cmake_parse_arguments(arg "" "" "DEPENDS" ${ARGN})
  file(GLOB_RECURSE sources CONFIGURE_DEPENDS "${CMAKE_CURRENT_SOURCE_DIR}/*.cpp")
  file(GLOB_RECURSE headers CONFIGURE_DEPENDS "${CMAKE_CURRENT_SOURCE_DIR}/*.hpp")
  list(FILTER headers EXCLUDE REGEX "-inl\\.hpp$")
  set(target Velmorant${name})
  if(name STREQUAL "Velmorant")
    set(target Velmorant)
  endif()
  add_library(${target} STATIC)
  add_library(Velmorant::${name} ALIAS ${target})
  target_sources(${target} PRIVATE ${sources}
                 PUBLIC FILE_SET HEADERS BASE_DIRS "${PROJECT_SOURCE_DIR}" FILES ${headers})
  target_compile_features(${target} PUBLIC cxx_std_23)
  set_target_properties(${target} PROPERTIES EXPORT_NAME ${name} VERIFY_INTERFACE_HEADER_SETS ON)
  target_link_libraries(${target} PUBLIC ${arg_DEPENDS} PRIVATE $<BUILD_INTERFACE:VelmorantWarnings>)
endfunction()

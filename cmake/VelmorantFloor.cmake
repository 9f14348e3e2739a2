# velmorant_floor(NAME [DEPENDS target…] [INTERNAL pattern]): the archive of one floor, made of every source below the
# calling folder. Headers are verified to compile alone, except those named *-inl.hpp, which may include what they like.
# Files whose path matches INTERNAL are nobody else's: their headers are not installed, and what their sources define
# stays inside the shared library.
function(velmorant_floor name)
  cmake_parse_arguments(arg "" "INTERNAL" "DEPENDS" ${ARGN})
  file(GLOB_RECURSE sources RELATIVE "${CMAKE_CURRENT_SOURCE_DIR}" CONFIGURE_DEPENDS "*.cpp")
  file(GLOB_RECURSE headers RELATIVE "${CMAKE_CURRENT_SOURCE_DIR}" CONFIGURE_DEPENDS "*.hpp" "*.h")
  list(FILTER headers EXCLUDE REGEX "-inl\\.hpp$")
  set(target Velmorant${name})
  if(name STREQUAL "Velmorant")
    set(target Velmorant)
  endif()
  add_library(${target} STATIC ${sources})
  add_library(Velmorant::${name} ALIAS ${target})
  target_compile_features(${target} PUBLIC cxx_std_23)
  # The shared library is made of the same objects.
  target_compile_options(${target} PRIVATE $<$<CXX_COMPILER_ID:GNU>:-fno-semantic-interposition>)
  string(REGEX REPLACE "([a-z])([A-Z])" "\\1-\\2" file_name ${target})
  string(TOLOWER ${file_name} file_name)
  set_target_properties(${target} PROPERTIES EXPORT_NAME ${name} OUTPUT_NAME ${file_name}
                        POSITION_INDEPENDENT_CODE ON VERIFY_INTERFACE_HEADER_SETS ON)
  target_link_libraries(${target} PUBLIC ${arg_DEPENDS} PRIVATE $<BUILD_INTERFACE:VelmorantWarnings>)

  if(arg_INTERNAL)
    set(internal_sources ${sources})
    list(FILTER internal_sources INCLUDE REGEX "${arg_INTERNAL}")
    set_source_files_properties(${internal_sources} PROPERTIES COMPILE_OPTIONS "-fvisibility=hidden")
    set(internal_headers ${headers})
    list(FILTER internal_headers INCLUDE REGEX "${arg_INTERNAL}")
    list(FILTER headers EXCLUDE REGEX "${arg_INTERNAL}")
    add_library(${target}Internal INTERFACE)
    target_sources(${target}Internal INTERFACE FILE_SET HEADERS BASE_DIRS "${PROJECT_SOURCE_DIR}"
                   FILES ${internal_headers})
    target_link_libraries(${target}Internal INTERFACE ${target})
    set_target_properties(${target}Internal PROPERTIES VERIFY_INTERFACE_HEADER_SETS ON)
  endif()
  target_sources(${target} PUBLIC FILE_SET HEADERS BASE_DIRS "${PROJECT_SOURCE_DIR}" FILES ${headers})
  install(TARGETS ${target} EXPORT VelmorantStaticTargets ARCHIVE COMPONENT dev
          FILE_SET HEADERS DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/velmorant" COMPONENT dev)
endfunction()

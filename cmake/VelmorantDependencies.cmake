# Libraries from Debian packages. Installed beside the package's configuration, too: whoever links Velmorant's archives
# needs those of them that VELMORANT_NEEDED names there.
find_package(Threads REQUIRED)

# velmorant_dependency(NAME HEADER file [LIBRARIES name…]): an imported target velmorant_dep::NAME. Programs link static
# archives where Debian has them, for each shared library costs start-up time; a shared library links shared ones.
function(velmorant_dependency name)
  cmake_parse_arguments(arg "" "HEADER" "LIBRARIES" ${ARGN})
  if(DEFINED VELMORANT_NEEDED AND NOT name IN_LIST VELMORANT_NEEDED)
    return()
  endif()
  find_path(VELMORANT_${name}_INCLUDE ${arg_HEADER} REQUIRED)
  add_library(velmorant_dep_${name} INTERFACE IMPORTED GLOBAL)
  target_include_directories(velmorant_dep_${name} SYSTEM INTERFACE ${VELMORANT_${name}_INCLUDE})
  set_property(GLOBAL PROPERTY VELMORANT_LIBRARIES_${name} ${arg_LIBRARIES})
  foreach(library IN LISTS arg_LIBRARIES)
    find_library(VELMORANT_${name}_${library} NAMES lib${library}.a ${library} REQUIRED)
    find_library(VELMORANT_${name}_${library}_SHARED NAMES ${library} REQUIRED)
    set(is_shared "$<STREQUAL:$<TARGET_PROPERTY:TYPE>,SHARED_LIBRARY>")
    target_link_libraries(velmorant_dep_${name} INTERFACE
      "$<IF:${is_shared},${VELMORANT_${name}_${library}_SHARED},${VELMORANT_${name}_${library}}>")
  endforeach()
  add_library(velmorant_dep::${name} ALIAS velmorant_dep_${name})
endfunction()

velmorant_dependency(spng HEADER spng.h LIBRARIES spng)
velmorant_dependency(isal HEADER isa-l/igzip_lib.h LIBRARIES isal)
velmorant_dependency(deflate HEADER libdeflate.h LIBRARIES deflate)
velmorant_dependency(zlib HEADER zlib.h LIBRARIES z)
velmorant_dependency(jpeg HEADER jpeglib.h LIBRARIES jpeg)
velmorant_dependency(webp HEADER webp/decode.h LIBRARIES webpdemux webpmux webp)
velmorant_dependency(exif HEADER libexif/exif-data.h LIBRARIES exif)
velmorant_dependency(lcms2 HEADER lcms2.h LIBRARIES lcms2)
velmorant_dependency(cctz HEADER cctz/time_zone.h LIBRARIES cctz)
velmorant_dependency(json HEADER nlohmann/json.hpp)
velmorant_dependency(xxhash HEADER xxhash.h LIBRARIES xxhash)
velmorant_dependency(sqlite HEADER SQLiteCpp/Database.h LIBRARIES SQLiteCpp sqlite3)
velmorant_dependency(cli11 HEADER CLI/CLI.hpp)
velmorant_dependency(hwy HEADER hwy/highway.h) # headers alone: loading the library takes 4 ms
velmorant_dependency(heif HEADER libheif/heif.h LIBRARIES heif)
velmorant_dependency(jxl HEADER jxl/decode.h LIBRARIES jxl jxl_threads)
velmorant_dependency(hpdf HEADER hpdf.h LIBRARIES hpdf)
velmorant_dependency(seccomp HEADER seccomp.h LIBRARIES seccomp)

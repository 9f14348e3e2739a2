# Libraries from Debian packages. Those that have no CMake file are found through pkg-config, cctz by hand.
find_package(Threads REQUIRED)
find_package(PkgConfig REQUIRED)

# velmorant_archive(NAME header libname…): an imported target velmorant_dep::NAME. The host links static archives
# where Debian has them: each shared library costs start-up time.
function(velmorant_dependency name)
  cmake_parse_arguments(arg "" "HEADER" "LIBRARIES" ${ARGN})
  find_path(VELMORANT_${name}_INCLUDE ${arg_HEADER} REQUIRED)
  add_library(velmorant_dep_${name} INTERFACE)
  target_include_directories(velmorant_dep_${name} SYSTEM INTERFACE ${VELMORANT_${name}_INCLUDE})
  foreach(library IN LISTS arg_LIBRARIES)
    find_library(VELMORANT_${name}_${library} NAMES lib${library}.a ${library} REQUIRED)
    target_link_libraries(velmorant_dep_${name} INTERFACE ${VELMORANT_${name}_${library}})
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

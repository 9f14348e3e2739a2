# Debian packages, by `cpack -G DEB`: one a component.
set(CPACK_PACKAGE_NAME velmorant)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "joins overlapping screenshots into tall pictures")
set(CPACK_PACKAGE_CONTACT "Velmorant developers <developers@velmorant.invalid>")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_PACKAGE_DIRECTORY "${PROJECT_BINARY_DIR}/packages")
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE
    WORLD_READ WORLD_EXECUTE)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_GROUPING ONE_PER_GROUP)
set(CPACK_COMPONENTS_ALL host runtime dev python)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(extra "${PROJECT_SOURCE_DIR}/cmake/package")

# velmorant_package(component name section description): a component's package, with its copyright and changelog.
function(velmorant_package component name section description)
  string(TOUPPER ${component} key)
  set(CPACK_DEBIAN_${key}_PACKAGE_NAME ${name} PARENT_SCOPE)
  set(CPACK_DEBIAN_${key}_PACKAGE_SECTION ${section} PARENT_SCOPE)
  set(CPACK_DEBIAN_${key}_DESCRIPTION "${description}" PARENT_SCOPE)
  set(folder "${CMAKE_INSTALL_DATADIR}/doc/${name}")
  install(FILES LICENSE RENAME copyright DESTINATION "${folder}" COMPONENT ${component})
  install(FILES "${PROJECT_BINARY_DIR}/changelog.gz" DESTINATION "${folder}" COMPONENT ${component})
endfunction()

add_custom_command(OUTPUT "${PROJECT_BINARY_DIR}/changelog.gz" DEPENDS CHANGELOG.md VERBATIM
  COMMAND sh -c "gzip -9n <\"$1\" >\"$2\"" - "${PROJECT_SOURCE_DIR}/CHANGELOG.md" "${PROJECT_BINARY_DIR}/changelog.gz")
add_custom_target(velmorant-changelog ALL DEPENDS "${PROJECT_BINARY_DIR}/changelog.gz")

velmorant_package(host velmorant graphics "Finds the screenshots of one scrolled page (a chat, an article, a receipt)
that belong together and joins them into one picture, exact to the row. Keeps
a photo library of its own and watches folders, where that is wanted.")
set(CPACK_DEBIAN_HOST_PACKAGE_DEPENDS tzdata)

velmorant_package(runtime libvelmorant0 libs "Finds where screenshots of one scrolled page overlap, and draws them as one
picture. This package has the library that programs use.")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_DEPENDS tzdata)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA "${extra}/triggers" "${extra}/shlibs")

velmorant_package(dev libvelmorant-dev libdevel "Headers for C++ and C, archives, and what CMake and pkg-config read. The
archives want the packages that are suggested, too.")
set(CPACK_DEBIAN_DEV_PACKAGE_DEPENDS "libvelmorant0 (= ${PROJECT_VERSION})")
file(STRINGS cmake/packages.txt suggested REGEX "^(zlib1g|lib(spng|isal|deflate|jpeg|webp|exif|lcms|cctz|xxhash|sqlite).*)-dev$")
list(JOIN suggested ", " CPACK_DEBIAN_DEV_PACKAGE_SUGGESTS)

velmorant_package(python python3-velmorant python "The Python module: screenshots as files or numpy arrays in, one picture as a
numpy array out.")
set(CPACK_DEBIAN_PYTHON_PACKAGE_ARCHITECTURE all)
set(CPACK_DEBIAN_PYTHON_PACKAGE_DEPENDS
    "libvelmorant0 (>= ${PROJECT_VERSION_MAJOR}.${PROJECT_VERSION_MINOR}), python3 (>= 3.9), python3-numpy")
set(CPACK_DEBIAN_PYTHON_PACKAGE_CONTROL_EXTRA "${extra}/postinst" "${extra}/prerm")

if(TARGET velmorant-codecs)
  list(APPEND CPACK_COMPONENTS_ALL codecs)
  velmorant_package(codecs velmorant-codecs graphics "Lets velmorant and its library read and write HEIF, AVIF, JPEG XL and PDF,
each picture in a process of its own.")
  set(CPACK_DEBIAN_HOST_PACKAGE_RECOMMENDS velmorant-codecs)
  set(CPACK_DEBIAN_RUNTIME_PACKAGE_RECOMMENDS velmorant-codecs)
endif()

include(CPack)

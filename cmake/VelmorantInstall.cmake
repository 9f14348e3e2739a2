# What is installed besides the libraries and their headers, by component: host, runtime, dev, python.
include(CMakePackageConfigHelpers)

# The program, its manual pages, and what makes it at home on a desktop.
set(man_folder "${PROJECT_BINARY_DIR}/man")
add_custom_command(OUTPUT "${man_folder}/velmorant.1.gz" VERBATIM
  COMMAND "${PROJECT_SOURCE_DIR}/cmake/package/make-man-pages.sh" "$<TARGET_FILE:velmorant>" ${PROJECT_VERSION} "${man_folder}"
  DEPENDS velmorant cmake/package/make-man-pages.sh cmake/package/man-page.awk)
add_custom_target(velmorant-man-pages ALL DEPENDS "${man_folder}/velmorant.1.gz")
install(TARGETS velmorant RUNTIME COMPONENT host)
install(DIRECTORY "${man_folder}/" DESTINATION "${CMAKE_INSTALL_MANDIR}/man1" COMPONENT host)
install(PROGRAMS Host/Desktop/velmorant-selected DESTINATION "${CMAKE_INSTALL_LIBEXECDIR}/velmorant" COMPONENT host)
install(FILES Host/Desktop/velmorant.desktop DESTINATION "${CMAKE_INSTALL_DATADIR}/applications" COMPONENT host)
install(FILES Host/Desktop/velmorant-watch.service DESTINATION lib/systemd/user COMPONENT host)
install(FILES Host/Desktop/velmorant.bash RENAME velmorant
        DESTINATION "${CMAKE_INSTALL_DATADIR}/bash-completion/completions" COMPONENT host)
install(FILES Host/Desktop/_velmorant DESTINATION "${CMAKE_INSTALL_DATADIR}/zsh/vendor-completions" COMPONENT host)
install(FILES Host/Desktop/velmorant.fish DESTINATION "${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d"
        COMPONENT host)

install(DIRECTORY Bindings/Python/velmorant DESTINATION lib/python3/dist-packages COMPONENT python
        FILES_MATCHING PATTERN "*.py" PATTERN "py.typed" PATTERN "__pycache__" EXCLUDE)

# What find_package(Velmorant) and pkg-config find. Nothing in it names the place where it was installed.

set(config_folder "${CMAKE_INSTALL_LIBDIR}/cmake/Velmorant")
foreach(kind Static Shared)
  install(EXPORT Velmorant${kind}Targets NAMESPACE Velmorant:: DESTINATION "${config_folder}" COMPONENT dev)
endforeach()
write_basic_package_version_file("${PROJECT_BINARY_DIR}/VelmorantConfigVersion.cmake" COMPATIBILITY SameMinorVersion)
# What the archives need of the dependencies; those that are headers alone are behind BUILD_INTERFACE.
get_target_property(needed VelmorantPlatform LINK_LIBRARIES)
list(FILTER needed INCLUDE REGEX "^velmorant_dep::")
list(TRANSFORM needed REPLACE "^velmorant_dep::" "")
configure_file(cmake/package/VelmorantConfig.cmake.in "${PROJECT_BINARY_DIR}/VelmorantConfig.cmake" @ONLY)
install(FILES "${PROJECT_BINARY_DIR}/VelmorantConfig.cmake" cmake/VelmorantDependencies.cmake
        "${PROJECT_BINARY_DIR}/VelmorantConfigVersion.cmake" DESTINATION "${config_folder}" COMPONENT dev)

set(libraries "")
foreach(name IN LISTS needed)
  get_property(files GLOBAL PROPERTY VELMORANT_LIBRARIES_${name})
  list(TRANSFORM files PREPEND "-l")
  list(APPEND libraries ${files})
endforeach()
list(JOIN libraries " " libraries)
file(RELATIVE_PATH up "/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/")
foreach(file velmorant velmorant-static)
  configure_file(cmake/package/${file}.pc.in "${PROJECT_BINARY_DIR}/${file}.pc" @ONLY)
  install(FILES "${PROJECT_BINARY_DIR}/${file}.pc" DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig" COMPONENT dev)
endforeach()

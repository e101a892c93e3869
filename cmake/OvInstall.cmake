# Install rules and the Debian package. The component and the stand-in machine go to the machine's
# component folder, <libdir>/ov200; ovrun finds the machine there through its run path and the
# component beside the machine. Another project finds both, and the machine's interface headers,
# through the CMake package `ov200std64` or the pkg-config module `ov200std64`.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(OV_INSTALL_COMPONENT_DIR ${CMAKE_INSTALL_LIBDIR}/ov200)
set(OV_INSTALL_INCLUDE_DIR ${CMAKE_INSTALL_INCLUDEDIR}/ov200)
set(OV_INSTALL_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/ov200std64)

install(TARGETS ov200std64 LIBRARY DESTINATION ${OV_INSTALL_COMPONENT_DIR} COMPONENT runtime)
install(TARGETS ovmachine LIBRARY DESTINATION ${OV_INSTALL_COMPONENT_DIR} COMPONENT runtime)
set_target_properties(ovrun PROPERTIES INSTALL_RPATH "$ORIGIN/../${OV_INSTALL_COMPONENT_DIR}")
install(TARGETS ovrun RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT runtime)
install(FILES ${PROJECT_SOURCE_DIR}/host/ovrun.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT runtime)
install(FILES ${PROJECT_SOURCE_DIR}/README.md DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT runtime)
install(FILES ${PROJECT_BINARY_DIR}/generated/reference.md DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT runtime)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/component/interfaces/
        DESTINATION ${OV_INSTALL_INCLUDE_DIR}/component/interfaces COMPONENT runtime
        FILES_MATCHING PATTERN "*.h")

configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/ov200std64Config.cmake.in
  ${PROJECT_BINARY_DIR}/ov200std64Config.cmake
  INSTALL_DESTINATION ${OV_INSTALL_CMAKE_DIR}
  PATH_VARS OV_INSTALL_COMPONENT_DIR OV_INSTALL_INCLUDE_DIR)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/ov200std64ConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/ov200std64Config.cmake ${PROJECT_BINARY_DIR}/ov200std64ConfigVersion.cmake
        DESTINATION ${OV_INSTALL_CMAKE_DIR} COMPONENT runtime)
# Relocatable: the prefix is found from where the .pc file lies, so the package's file is right
# whatever prefix the build was configured with.
file(RELATIVE_PATH OV_PC_TO_PREFIX "/root/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/root")
configure_file(${PROJECT_SOURCE_DIR}/cmake/ov200std64.pc.in ${PROJECT_BINARY_DIR}/ov200std64.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/ov200std64.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT runtime)

# cpack -G DEB in the build folder: one package with the runtime, ovrun and the headers.
set(CPACK_PACKAGE_NAME ov200std64)
set(CPACK_PACKAGE_VENDOR "ov200std64 developers")
set(CPACK_PACKAGE_CONTACT "ov200std64 developers <ov200std64@localhost>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "Zeklang standard-functions component, stand-in machine and ovrun")
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION devel)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS OFF)
set(CPACK_DEBIAN_PACKAGE_DEPENDS "libc6 (>= 2.36), libstdc++6 (>= 12), libgcc-s1")
set(CPACK_STRIP_FILES ON)
include(CPack)

# What `cmake --install` puts where: the library, its documented headers, the guides, and the files by which others
# find it. A component is a package (LiomolPackages.cmake); what names none belongs to the tools.
# The frame grabber in software goes with it, under none of the names of the hardware's libraries: those come first
# wherever the loader finds them (softboard/CMakeLists.txt), also beside liomol.
include(CMakePackageConfigHelpers)

install(DIRECTORY "${PROJECT_SOURCE_DIR}/include/liomol" DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}" COMPONENT development)

set_target_properties(liomol softboard PROPERTIES INSTALL_RPATH "\$ORIGIN")
install(TARGETS liomol LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT library NAMELINK_COMPONENT development)
install(TARGETS softboard LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT softboard)

# Every guide, and the programs that they point at, as in the source.
file(GLOB liomol_guides CONFIGURE_DEPENDS "${PROJECT_SOURCE_DIR}/docs/*.md")
install(FILES ${liomol_guides} DESTINATION "${CMAKE_INSTALL_DOCDIR}/docs")
install(FILES "${PROJECT_SOURCE_DIR}/README.md" DESTINATION "${CMAKE_INSTALL_DOCDIR}")
file(GLOB liomol_examples CONFIGURE_DEPENDS "${PROJECT_SOURCE_DIR}/examples/*.c" "${PROJECT_SOURCE_DIR}/examples/*.cpp")
install(FILES ${liomol_examples} DESTINATION "${CMAKE_INSTALL_DOCDIR}/examples" COMPONENT development)

# The package file is written by hand: an exported target would drag the hardware libraries' build along.
set(liomol_package_dir "${CMAKE_INSTALL_LIBDIR}/cmake/liomol")
configure_package_config_file(
    cmake/liomol-config.cmake.in "${CMAKE_BINARY_DIR}/liomol-config.cmake"
    INSTALL_DESTINATION "${liomol_package_dir}" PATH_VARS CMAKE_INSTALL_LIBDIR CMAKE_INSTALL_INCLUDEDIR)
write_basic_package_version_file(
    "${CMAKE_BINARY_DIR}/liomol-config-version.cmake" COMPATIBILITY SameMinorVersion)
install(FILES "${CMAKE_BINARY_DIR}/liomol-config.cmake" "${CMAKE_BINARY_DIR}/liomol-config-version.cmake"
        DESTINATION "${liomol_package_dir}" COMPONENT development)
file(RELATIVE_PATH LIOMOL_PKGCONFIG_TO_PREFIX
     "${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig" "${CMAKE_INSTALL_PREFIX}")
configure_file(cmake/liomol.pc.in "${CMAKE_BINARY_DIR}/liomol.pc" @ONLY)
configure_file(cmake/liomol-qt.pc.in "${CMAKE_BINARY_DIR}/liomol-qt.pc" @ONLY)
install(FILES "${CMAKE_BINARY_DIR}/liomol.pc" "${CMAKE_BINARY_DIR}/liomol-qt.pc"
        DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig" COMPONENT development)

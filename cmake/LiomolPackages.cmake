# Debian packages, one a component of what is installed; scripts/package builds them. Their version and their time are
# those of the newest entry in the packaging changelog, so that two builds of one source are the same.
if(NOT LIOMOL_PACKAGES)
    return()
endif()

set(packaging "${PROJECT_SOURCE_DIR}/packaging")
set(made "${PROJECT_BINARY_DIR}/packaging")
set(changelog "${packaging}/changelog")
file(STRINGS "${changelog}" newest LIMIT_COUNT 1)
if(NOT newest MATCHES "^liomol \\(${PROJECT_VERSION}-([^)]+)\\)")
    message(FATAL_ERROR "${changelog}: the newest entry, \"${newest}\", is not of version ${PROJECT_VERSION}")
endif()
set(debian_revision "${CMAKE_MATCH_1}")

# component, package, section
set(packages
    "library\;libliomol${LIOMOL_SOVERSION}\;libs"
    "development\;libliomol-dev\;libdevel"
    "tools\;liomol-tools\;utils"
    "softboard\;liomol-softboard\;libs")

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME liomol)
set(CPACK_PACKAGE_VERSION "${PROJECT_VERSION}")
set(CPACK_PACKAGE_CONTACT "liomol maintainers <maintainers@liomol.invalid>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "") # each package begins with its own
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE "${debian_revision}")
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION TRUE)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS "${CMAKE_LIBRARY_OUTPUT_DIRECTORY}")
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON) # of the very same version
set(CPACK_COMPONENT_LIBRARY_DEPENDS softboard)
set(CPACK_COMPONENT_DEVELOPMENT_DEPENDS library)
set(CPACK_COMPONENT_TOOLS_DEPENDS library softboard)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_RECOMMENDS "qt${QT_VERSION_MAJOR}-base-dev")
set(CPACK_DEBIAN_TOOLS_PACKAGE_DEPENDS "init-system-helpers (>= 1.52)")
set(CPACK_DEBIAN_SOFTBOARD_PACKAGE_DEPENDS "libcap2-bin")

set(CPACK_DEBIAN_LIBRARY_DESCRIPTION "GigE Vision cameras behind four-port frame grabbers
Finds GigE Vision cameras on the ports of a frame grabber board, or of any
network interface, reads and writes their features by name, and takes their
images.

This package has the shared library.")
set(CPACK_DEBIAN_DEVELOPMENT_DESCRIPTION "GigE Vision cameras behind four-port frame grabbers - development files
Headers, pkg-config and CMake files and examples for programs that use GigE
Vision cameras through liomol's C interface or its Qt objects. The latter want
Qt's development package as well.")
set(CPACK_DEBIAN_TOOLS_DESCRIPTION "command line, service and camera in software for GigE Vision cameras
The command gbe finds GigE Vision cameras, shows and changes their features,
saves images, and says why there is silence. The service gbe-service owns the
network addresses of the ports. The program gbe-simcam puts cameras in
software on a network interface. The guides are here, too.")
set(CPACK_DEBIAN_SOFTBOARD_DESCRIPTION "frame grabber in software for liomol
Stands in for a frame grabber where none is installed: its ports are network
interfaces of this computer, or cameras in software.")

# Debian's own files of each package; "gzip -n" leaves the time out.
function(compress_into file source)
    file(READ "${source}" text)
    file(WRITE "${file}" "${text}")
    execute_process(COMMAND gzip -9nf "${file}" COMMAND_ERROR_IS_FATAL ANY)
endfunction()
compress_into("${made}/changelog" "${PROJECT_SOURCE_DIR}/CHANGELOG.md")
compress_into("${made}/changelog.Debian" "${changelog}")
file(READ "${PROJECT_SOURCE_DIR}/LICENSE" license)
string(REGEX REPLACE "^.*(Permission is hereby)" "\\1" license "${license}")
string(REGEX REPLACE "\n+$" "" license "${license}")
string(REPLACE "\n\n" "\n.\n" license "${license}")
string(REPLACE "\n" "\n " LIOMOL_LICENSE_TEXT " ${license}")
configure_file("${packaging}/copyright" "${made}/copyright" @ONLY)
configure_file("${packaging}/shlibs" "${made}/shlibs" @ONLY)
file(WRITE "${made}/conffiles" "/etc/liomol/gbe-service.conf\n")

set(CPACK_COMPONENTS_ALL "")
foreach(each IN LISTS packages)
    list(GET each 0 component)
    list(GET each 1 package)
    list(GET each 2 section)
    list(APPEND CPACK_COMPONENTS_ALL ${component})
    string(TOUPPER ${component} COMPONENT)
    set(CPACK_DEBIAN_${COMPONENT}_PACKAGE_NAME ${package})
    set(CPACK_DEBIAN_${COMPONENT}_PACKAGE_SECTION ${section})
    install(FILES "${made}/copyright" "${made}/changelog.gz" "${made}/changelog.Debian.gz"
            DESTINATION "${CMAKE_INSTALL_DATAROOTDIR}/doc/${package}" COMPONENT ${component})
endforeach()
set(CPACK_DEBIAN_LIBRARY_PACKAGE_CONTROL_EXTRA "${packaging}/triggers" "${made}/shlibs")
set(scripts "${made}/tools")
foreach(script IN ITEMS postinst prerm postrm)
    configure_file("${packaging}/tools.${script}" "${made}/tools/${script}" COPYONLY)
endforeach()
configure_file("${packaging}/softboard.postinst" "${made}/softboard/postinst" COPYONLY)
set(CPACK_DEBIAN_TOOLS_PACKAGE_CONTROL_EXTRA "${scripts}/postinst" "${scripts}/prerm" "${scripts}/postrm" "${made}/conffiles")
set(CPACK_DEBIAN_SOFTBOARD_PACKAGE_CONTROL_EXTRA "${packaging}/triggers" "${made}/softboard/postinst")

install(FILES "${packaging}/gbe-service.conf" DESTINATION "${LIOMOL_CONFIG_DIR}")
install(FILES "${packaging}/liomol.conf" DESTINATION lib/tmpfiles.d)
install(CODE [[
    file(GLOB pages "$ENV{DESTDIR}${CMAKE_INSTALL_PREFIX}/share/man/man1/*.1"
         "$ENV{DESTDIR}${CMAKE_INSTALL_PREFIX}/share/man/man8/*.8")
    if(pages)
        execute_process(COMMAND gzip -9nf ${pages} COMMAND_ERROR_IS_FATAL ANY)
    endif()
]] ALL_COMPONENTS)
include(CPack)

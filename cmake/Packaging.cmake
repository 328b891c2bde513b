# The Debian package (cpack -G DEB, run by scripts/package): the man pages,
# the Debian copyright and changelog, the maintainer scripts, and CPack's
# settings. The programs, units, udev rule, desktop entry, icons and metadata
# have their install rules beside their sources in app/ and service/.
include(GNUInstallDirs)

set(VKT_PACKAGE_MAINTAINER "VKT Printer Properties maintainers <maintainers@users.noreply.c-seed-5f80f1d5.example>"
    CACHE STRING "Maintainer field of the Debian package")
set(VKT_DEB_RELEASE 1)
set(VKT_DEB_VERSION ${PROJECT_VERSION}-${VKT_DEB_RELEASE})
set(VKT_PACKAGING_DIR ${PROJECT_SOURCE_DIR}/packaging/debian)
set(VKT_PACKAGE_BUILD_DIR ${PROJECT_BINARY_DIR}/packaging)

# Man pages and the changelog are installed compressed; -n keeps the name and
# time out of the gzip header, so the same sources make the same package.
function(vkt_gzip_file source output)
  add_custom_command(
    OUTPUT ${output}
    COMMAND gzip -9n -c ${source} > ${output}
    DEPENDS ${source}
    VERBATIM)
endfunction()

set(_vkt_gz_files "")
foreach(page vkts3-properties.1 vkts3-cli.1 vkts3-ppd-service.8)
  string(REGEX REPLACE ".*\\.([0-9])$" "\\1" section ${page})
  vkt_gzip_file(${PROJECT_SOURCE_DIR}/docs/man/${page} ${VKT_PACKAGE_BUILD_DIR}/${page}.gz)
  list(APPEND _vkt_gz_files ${VKT_PACKAGE_BUILD_DIR}/${page}.gz)
  install(FILES ${VKT_PACKAGE_BUILD_DIR}/${page}.gz DESTINATION ${CMAKE_INSTALL_MANDIR}/man${section})
endforeach()

set(CPACK_DEBIAN_PACKAGE_MAINTAINER "${VKT_PACKAGE_MAINTAINER}")
configure_file(${VKT_PACKAGING_DIR}/changelog.in ${VKT_PACKAGE_BUILD_DIR}/changelog.Debian @ONLY)
vkt_gzip_file(${VKT_PACKAGE_BUILD_DIR}/changelog.Debian ${VKT_PACKAGE_BUILD_DIR}/changelog.Debian.gz)
list(APPEND _vkt_gz_files ${VKT_PACKAGE_BUILD_DIR}/changelog.Debian.gz)
add_custom_target(vkt_package_docs ALL DEPENDS ${_vkt_gz_files})

install(FILES ${VKT_PACKAGING_DIR}/copyright ${VKT_PACKAGE_BUILD_DIR}/changelog.Debian.gz
        DESTINATION ${CMAKE_INSTALL_DOCDIR})

# The udev trigger in postinst is limited to the printers' vendor id.
configure_file(${VKT_PACKAGING_DIR}/postinst.in ${VKT_PACKAGE_BUILD_DIR}/postinst @ONLY
               FILE_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME vkts3-properties)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_DIRECTORY ${PROJECT_BINARY_DIR}/package)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "settings and maintenance tool for Orvex VKT card printers")
set(CPACK_PACKAGE_DESCRIPTION "\
Shows the state of Orvex VKT Series 1 and Series 3 ID-card printers set up as
CUPS queues, edits the driver defaults in their PPD files, and runs the
printers' magnetic encoder, test cards, cleaning, firmware download, offsets,
card feeder and job-log settings.
.
Includes vkts3-ppd-service, a socket-activated root service that puts the PPD
files edited by members of the lpadmin group in place, and a udev rule that
gives the person at the seat access to the printers' USB devices.")
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE ${VKT_DEB_RELEASE})
set(CPACK_DEBIAN_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# Libraries come from dpkg-shlibdeps. Besides them: the scheduler whose PPD
# folder the service edits, the font the test cards name (Helvetica's metric
# twin), and xdg-open, through which Help opens the user guide.
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "cups-daemon, fonts-urw-base35, xdg-utils")
set(CPACK_DEBIAN_PACKAGE_CONTROL_EXTRA
    ${VKT_PACKAGE_BUILD_DIR}/postinst ${VKT_PACKAGING_DIR}/prerm ${VKT_PACKAGING_DIR}/postrm)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
include(CPack)

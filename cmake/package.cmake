# Debian packages, one for each component that `cmake/install.cmake` names.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME tspec)
set(CPACK_PACKAGE_VENDOR "TSPEC maintainers")
# Each component has a summary of its own, its first line.
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")
set(CPACK_PACKAGE_DIRECTORY ${CMAKE_BINARY_DIR})
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_STRIP_FILES ON)
set(CPACK_COMPONENTS_ALL daemon dev sim symbols)
set(CPACK_COMPONENTS_GROUPING ONE_PER_GROUP)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_PRE_BUILD_SCRIPTS ${CMAKE_CURRENT_LIST_DIR}/package-documents.cmake)

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "TSPEC maintainers <maintainers@tspec.example>")
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_SECTION net)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

set(CPACK_DEBIAN_DAEMON_PACKAGE_NAME tspec-daemon)
set(CPACK_DEBIAN_DAEMON_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_DAEMON_PACKAGE_DEPENDS "init-system-helpers (>= 1.54~), adduser")
set(CPACK_DEBIAN_DAEMON_PACKAGE_RECOMMENDS "nftables")
set(CPACK_COMPONENT_DAEMON_DESCRIPTION "admission control for wireless access points
Decides on clients' requests for airtime (TSPEC; IEEE 802.11e, WMM admission
control) together with hostapd, and keeps account of the medium time of each
radio and access category. With it comes tspec-cli, the operator's tool.")
set(CPACK_DEBIAN_DAEMON_PACKAGE_CONTROL_EXTRA
  ${CMAKE_SOURCE_DIR}/packaging/debian/postinst
  ${CMAKE_SOURCE_DIR}/packaging/debian/prerm
  ${CMAKE_SOURCE_DIR}/packaging/debian/postrm)

set(CPACK_DEBIAN_DEV_PACKAGE_NAME tspec-dev)
set(CPACK_DEBIAN_DEV_PACKAGE_SECTION devel)
set(CPACK_DEBIAN_DEV_PACKAGE_ARCHITECTURE all)
set(CPACK_COMPONENT_DEV_DESCRIPTION "messages of the TSPEC daemon, for programs that talk to it
A C header with ports, names, codes and structures of every datagram that the
TSPEC daemon exchanges with hostapd and the managing daemons.")

set(CPACK_DEBIAN_SIM_PACKAGE_NAME tspec-sim)
set(CPACK_DEBIAN_SIM_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_SIM_PACKAGE_SECTION devel)
set(CPACK_DEBIAN_SIM_PACKAGE_DEPENDS "tspec-daemon")
set(CPACK_COMPONENT_SIM_DESCRIPTION "simulated access point for the TSPEC daemon
Runs the TSPEC daemon on a simulated wireless driver with simulated peers and
plays scenarios on it, without a radio and without root.")

set(CPACK_DEBIAN_SYMBOLS_PACKAGE_NAME tspec-daemon-dbgsym)
set(CPACK_DEBIAN_SYMBOLS_PACKAGE_SECTION debug)
set(CPACK_DEBIAN_SYMBOLS_PACKAGE_DEPENDS
  "tspec-daemon (= ${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE})")
set(CPACK_COMPONENT_SYMBOLS_DESCRIPTION "debug symbols of tspec-daemon and tspec-cli
For gdb, which finds them by itself.")

include(CPack)

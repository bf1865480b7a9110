# Runs at install time (cmake --install, cpack): writes a systemd unit (and,
# for the daemon, its settings file) for the prefix being installed to, which
# may differ from the prefix the build was configured with. The unit then
# names the installed binary and the daemon's installed settings file.
#
# In: CMAKE_INSTALL_PREFIX (set by cmake --install --prefix / CPack),
#     PLOVREST_SOURCE_DIR, PLOVREST_BINARY_DIR, PLOVREST_BINDIR (relative),
#     PLOVREST_UNIT_DIR (relative to the prefix, or absolute),
#     PLOVREST_UNIT (the unit's file name, e.g. plovrestd.service),
#     PLOVREST_SETTINGS (true: also install the daemon's settings file).

# Settings files go under /etc for the system prefix /usr, as GNUInstallDirs
# does, and under <prefix>/etc for any other prefix.
if(CMAKE_INSTALL_PREFIX STREQUAL "/usr")
  set(sysconfdir "/etc")
else()
  set(sysconfdir "${CMAKE_INSTALL_PREFIX}/etc")
endif()
if(IS_ABSOLUTE "${PLOVREST_UNIT_DIR}")
  set(unitdir "${PLOVREST_UNIT_DIR}")
else()
  set(unitdir "${CMAKE_INSTALL_PREFIX}/${PLOVREST_UNIT_DIR}")
endif()

set(PLOVREST_BIN_DIR "${CMAKE_INSTALL_PREFIX}/${PLOVREST_BINDIR}")
set(PLOVREST_ENV_FILE "${sysconfdir}/default/plovrestd")
set(staged "${PLOVREST_BINARY_DIR}/install-${CMAKE_INSTALL_CONFIG_NAME}")
configure_file("${PLOVREST_SOURCE_DIR}/${PLOVREST_UNIT}" "${staged}/${PLOVREST_UNIT}" @ONLY)

# file(INSTALL) adds $DESTDIR and records the files in the install manifest.
file(INSTALL DESTINATION "${unitdir}" TYPE FILE FILES "${staged}/${PLOVREST_UNIT}")
if(PLOVREST_SETTINGS)
  configure_file("${PLOVREST_SOURCE_DIR}/plovrestd.default" "${staged}/plovrestd" COPYONLY)
  file(INSTALL DESTINATION "${sysconfdir}/default" TYPE FILE FILES "${staged}/plovrestd")
endif()

# Runs at install time (cmake --install, cpack): writes the exporter's systemd
# unit for the prefix being installed to, naming the installed binary and the
# daemon's installed settings file (see InstallService.cmake).
#
# In: CMAKE_INSTALL_PREFIX, PLOVREST_SOURCE_DIR, PLOVREST_BINARY_DIR,
#     PLOVREST_BINDIR (relative), PLOVREST_UNIT_DIR (relative or absolute).
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
configure_file("${PLOVREST_SOURCE_DIR}/plovrest-exporter.service" "${staged}/plovrest-exporter.service" @ONLY)
file(INSTALL DESTINATION "${unitdir}" TYPE FILE FILES "${staged}/plovrest-exporter.service")

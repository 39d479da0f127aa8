# Install rules (GNUInstallDirs; DESTDIR is honoured): camrcd in sbin, camrc in bin
# unless CAMRCD_CLIENT is OFF, their manual pages, and the start-up files that
# CAMRCD_INIT names. The start-up files are configured with the daemon's installed path.
include(GNUInstallDirs)
set(CAMRCD_INIT "busybox;systemd" CACHE STRING
    "Start-up files to install: busybox (init script), systemd (unit), both or none")
set(CAMRCD_SYSTEMD_UNIT_DIR lib/systemd/system CACHE STRING
    "Where the systemd unit goes (below the prefix unless absolute)")
# With the prefix /usr this is Wireshark's own folder for Lua plugins on Debian
# (/usr/lib/<multiarch>/wireshark/plugins); ~/.local/lib/wireshark/plugins serves one user.
set(CAMRCD_WIRESHARK_PLUGIN_DIR ${CMAKE_INSTALL_LIBDIR}/wireshark/plugins CACHE STRING
    "Where the dissector camrcd.lua goes (below the prefix unless absolute)")

install(TARGETS camrcd RUNTIME DESTINATION ${CMAKE_INSTALL_SBINDIR})
install(FILES ${CMAKE_SOURCE_DIR}/docs/man/camrcd.8 DESTINATION ${CMAKE_INSTALL_MANDIR}/man8)
if(CAMRCD_CLIENT)
  install(TARGETS camrc RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
  install(FILES ${CMAKE_SOURCE_DIR}/docs/man/camrc.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
  install(FILES ${CMAKE_BINARY_DIR}/camrcd.lua DESTINATION ${CAMRCD_WIRESHARK_PLUGIN_DIR})
endif()
if("busybox" IN_LIST CAMRCD_INIT)
  configure_file(${CMAKE_SOURCE_DIR}/packaging/S50camrcd.in S50camrcd @ONLY)
  install(PROGRAMS ${CMAKE_BINARY_DIR}/S50camrcd
          DESTINATION ${CMAKE_INSTALL_FULL_SYSCONFDIR}/init.d)
endif()
if("systemd" IN_LIST CAMRCD_INIT)
  configure_file(${CMAKE_SOURCE_DIR}/packaging/camrcd.service.in camrcd.service @ONLY)
  install(FILES ${CMAKE_BINARY_DIR}/camrcd.service DESTINATION ${CAMRCD_SYSTEMD_UNIT_DIR})
endif()

# The packaging checks (tests/packaging/), for the default set of installed files.
if(BUILD_TESTING AND CAMRCD_CLIENT AND CAMRCD_INIT STREQUAL "busybox;systemd")
  set(checks ${CMAKE_SOURCE_DIR}/tests/packaging)
  add_test(NAME Packaging.InstallHoldsExactlyTheExpectedFiles
           COMMAND bash ${checks}/install_test.sh ${CMAKE_BINARY_DIR} ${CMAKE_INSTALL_PREFIX}
                   ${CMAKE_INSTALL_FULL_SYSCONFDIR} ${CAMRCD_SYSTEMD_UNIT_DIR}
                   ${CAMRCD_WIRESHARK_PLUGIN_DIR} "${CMAKE_LIBRARY_ARCHITECTURE}"
                   "${CMAKE_CROSSCOMPILING_EMULATOR}")
  add_test(NAME Packaging.InitScriptStartsAndStopsTheDaemon
           COMMAND bash ${checks}/init_script_test.sh ${CMAKE_SOURCE_DIR} ${CMAKE_BINARY_DIR}
                   ${CMAKE_CROSSCOMPILING_EMULATOR})
  add_test(NAME Packaging.SystemdUnitVerifies
           COMMAND bash ${checks}/systemd_unit_test.sh ${CMAKE_BINARY_DIR})
  add_test(NAME Packaging.ManualPagesRenderAndCoverCamrc
           COMMAND bash ${checks}/man_pages_test.sh ${CMAKE_SOURCE_DIR}
                   ${CMAKE_CROSSCOMPILING_EMULATOR} ${CMAKE_BINARY_DIR}/camrc)
  set_tests_properties(Packaging.SystemdUnitVerifies PROPERTIES SKIP_RETURN_CODE 77)
  set_tests_properties(Packaging.InstallHoldsExactlyTheExpectedFiles
                       Packaging.InitScriptStartsAndStopsTheDaemon Packaging.SystemdUnitVerifies
                       Packaging.ManualPagesRenderAndCoverCamrc PROPERTIES TIMEOUT 120)
endif()

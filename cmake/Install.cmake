# What `cmake --install` puts where, and the two Debian packages CPack makes of it:
#   voltaris-monitor         the server part: voltamond, telvane-host and its libraries, the tools,
#                            the systemd units, docs, man pages and the demo job; no GUI library
#   voltaris-monitor-window  voltamon with its main window (and the report program), for desktops
# A package is configured with CMAKE_INSTALL_PREFIX=/usr (./run package), which puts the site's
# configuration in /etc; any other prefix keeps everything below it.
include(GNUInstallDirs)
set(VT_DOCDIR ${CMAKE_INSTALL_DATADIR}/doc/voltaris-monitor)

# Not the multiarch library folder: telvane-host finds them at ../lib/voltaris from its own.
set(VT_PRIVATE_LIBDIR lib/voltaris)
set(VT_PRIVATE_LIBDIR_FULL ${CMAKE_INSTALL_PREFIX}/lib/voltaris)
set(VT_DATADIR ${CMAKE_INSTALL_DATADIR}/voltaris)

foreach(program voltamond telvane-host vt-mtg vt-store)
  if(TARGET ${program})
    install(TARGETS ${program} RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT server)
  endif()
endforeach()
foreach(program voltamon vtreport)
  if(TARGET ${program})
    install(TARGETS ${program} RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT window)
  endif()
endforeach()

# The host libraries are copied by telvane-host into a prefix; they never go on the library path.
foreach(library hostpts32 hostrec32 hostarc hostcmd32)
  if(TARGET ${library})
    install(TARGETS ${library} LIBRARY DESTINATION ${VT_PRIVATE_LIBDIR} COMPONENT server)
  endif()
endforeach()
install(PROGRAMS dist/voltaris-job-setup DESTINATION ${VT_PRIVATE_LIBDIR} COMPONENT server)

install(FILES demo/scenario.scn demo/demo.vtm demo/VoltarisSetup.ini DESTINATION ${VT_DATADIR}/demo COMPONENT server)
install(PROGRAMS demo/run-demo.sh DESTINATION ${VT_DATADIR}/demo COMPONENT server)
install(FILES README.md docs/ARCHITECTURE.md docs/DECISIONS.md hostsim/telvane-host/SCENARIO.md
        DESTINATION ${VT_DOCDIR} COMPONENT server)

# Units and the service user go where systemd looks for packaged ones, whatever the prefix.
set(VT_SYSTEMD_UNITDIR lib/systemd/system CACHE STRING "Where the systemd units are installed")
foreach(unit telvane-host.service voltamond.service)
  configure_file(dist/systemd/${unit}.in ${CMAKE_BINARY_DIR}/systemd/${unit} @ONLY)
  install(FILES ${CMAKE_BINARY_DIR}/systemd/${unit} DESTINATION ${VT_SYSTEMD_UNITDIR} COMPONENT server)
endforeach()
install(FILES dist/sysusers-voltaris.conf DESTINATION lib/sysusers.d RENAME voltaris.conf COMPONENT server)
# The site's configuration: the demo site until the administrator changes it.
install(FILES demo/scenario.scn DESTINATION ${CMAKE_INSTALL_FULL_SYSCONFDIR}/voltaris RENAME site.scn COMPONENT server)
install(FILES demo/demo.vtm DESTINATION ${CMAKE_INSTALL_FULL_SYSCONFDIR}/voltaris RENAME site.vtm COMPONENT server)
install(FILES demo/VoltarisSetup.ini DESTINATION ${CMAKE_INSTALL_FULL_SYSCONFDIR}/voltaris COMPONENT server)
install(FILES dist/etc/default-voltaris DESTINATION ${CMAKE_INSTALL_FULL_SYSCONFDIR}/default RENAME voltaris
        COMPONENT server)

# A man page per program, made from its own --help and --version.
find_program(VT_HELP2MAN help2man)
function(vt_man_page program component description)
  if(NOT TARGET ${program})
    return()
  endif()
  if(NOT VT_HELP2MAN)
    message(STATUS "help2man not found: no man page for ${program}")
    return()
  endif()
  set(page ${CMAKE_BINARY_DIR}/man/${program}.1)
  add_custom_command(OUTPUT ${page}
    COMMAND ${CMAKE_COMMAND} -E make_directory ${CMAKE_BINARY_DIR}/man
    COMMAND ${CMAKE_COMMAND} -E env QT_QPA_PLATFORM=offscreen VOLTARIS_PREFIX=${CMAKE_BINARY_DIR}/man/prefix
            ${VT_HELP2MAN} --no-info --no-discard-stderr --section=1 --name=${description}
            --output=${page} $<TARGET_FILE:${program}>
    DEPENDS ${program} VERBATIM)
  add_custom_target(man_${program} ALL DEPENDS ${page})
  install(FILES ${page} DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT ${component})
endfunction()
vt_man_page(voltamond server "energy monitor beside a SCADA host, without a window")
vt_man_page(telvane-host server "stand-in SCADA host with simulated and real meters")
vt_man_page(vt-mtg server "build and dump tag setup files")
vt_man_page(vt-store server "read store files and the peak table")
vt_man_page(vtreport window "charts of store files: day profiles, months and peaks")
vt_man_page(voltamon window "energy monitor beside a SCADA host, with its main window")

# --- packages -------------------------------------------------------------------------------
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME voltaris-monitor)
set(CPACK_PACKAGE_VENDOR "Voltaris")
set(CPACK_PACKAGE_CONTACT "Voltaris Monitor developers <voltaris@localhost>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "Energy monitor beside a SCADA host")
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL server window)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_OUTPUT_FILE_PREFIX ${CMAKE_BINARY_DIR}/packages)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_PACKAGE_SECTION misc)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS OFF)
set(CPACK_DEBIAN_SERVER_PACKAGE_NAME voltaris-monitor)
set(CPACK_DEBIAN_SERVER_DESCRIPTION
  "voltamond, telvane-host with its libraries, vt-mtg, vt-store, the systemd units\nand the demo job (server part). Links no GUI library.")
set(CPACK_DEBIAN_SERVER_PACKAGE_CONTROL_EXTRA
  ${PROJECT_SOURCE_DIR}/dist/debian/postinst ${PROJECT_SOURCE_DIR}/dist/debian/conffiles)
set(CPACK_DEBIAN_WINDOW_PACKAGE_NAME voltaris-monitor-window)
set(CPACK_DEBIAN_WINDOW_DESCRIPTION "voltamon with its main window, and the report program (window part).")
set(CPACK_DEBIAN_WINDOW_PACKAGE_DEPENDS "voltaris-monitor (= ${PROJECT_VERSION})")
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
include(CPack)
cpack_add_component(server DISPLAY_NAME "Server part" REQUIRED)
cpack_add_component(window DISPLAY_NAME "Window part" DEPENDS server)

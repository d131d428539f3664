# What `cmake --install` puts where. Every path is below the prefix, and nothing
# that is installed holds the prefix, so the whole can be moved.
#
# Components: daemon (what runs on the access point), dev (what peers are built
# with), sim (the simulated access point), symbols (for gdb).
include(GNUInstallDirs)

install(TARGETS tspec-daemon DESTINATION ${CMAKE_INSTALL_SBINDIR} COMPONENT daemon)
install(TARGETS tspec-cli DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT daemon)
install(FILES docs/man/tspec-daemon.8 docs/man/tspec-filter.8 docs/man/tspec-watch.8
  DESTINATION ${CMAKE_INSTALL_MANDIR}/man8 COMPONENT daemon)
install(FILES docs/man/tspec-cli.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT daemon)
install(PROGRAMS packaging/common/tspec-filter packaging/common/tspec-watch
  DESTINATION ${CMAKE_INSTALL_SBINDIR} COMPONENT daemon)
file(GLOB units packaging/systemd/tspec-*)
install(FILES ${units} DESTINATION lib/systemd/system COMPONENT daemon)
install(DIRECTORY packaging/systemd/examples/
  DESTINATION ${CMAKE_INSTALL_DOCDIR}/systemd COMPONENT daemon)
# Laid out as in the sources, so that the links in the pages lead somewhere: what
# is installed elsewhere is linked to, in the component that it belongs to.
function(install_link place target component)
  get_filename_component(folder ${place} DIRECTORY)
  get_filename_component(name ${place} NAME)
  file(MAKE_DIRECTORY ${CMAKE_BINARY_DIR}/links/${folder})
  file(CREATE_LINK ${target} ${CMAKE_BINARY_DIR}/links/${place} SYMBOLIC)
  install(FILES ${CMAKE_BINARY_DIR}/links/${place}
    DESTINATION ${CMAKE_INSTALL_DOCDIR}/${folder} COMPONENT ${component})
endfunction()
install(FILES README.md CHANGELOG.md CONTRIBUTING.md SECURITY.md DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT daemon)
install(DIRECTORY docs DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT daemon
  FILES_MATCHING PATTERN "*.md" PATTERN "*.svg" PATTERN "*.png" PATTERN "*.[18]")
install(FILES tools/tspec-cli/tspec.conf.example
  DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT daemon OPTIONAL)
install_link(tools/tspec-cli/tspec.conf.example ../../tspec.conf.example daemon)

set(completions ${CMAKE_BINARY_DIR}/share/bash-completion/completions)
install(FILES ${completions}/tspec-cli
  DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions COMPONENT daemon OPTIONAL)

# The headers are the same for every machine, and so is what pkg-config says of them.
install(FILES include/tspec/message.h include/tspec/wmm.h
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/tspec COMPONENT dev)
install_link(include/tspec/message.h ../../../../../include/tspec/message.h dev)
install_link(include/tspec/wmm.h ../../../../../include/tspec/wmm.h dev)
configure_file(cmake/tspec.pc.in tspec.pc @ONLY)
install(FILES ${CMAKE_BINARY_DIR}/tspec.pc
  DESTINATION ${CMAKE_INSTALL_DATADIR}/pkgconfig COMPONENT dev)
install(DIRECTORY examples DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT dev OPTIONAL
  PATTERN CMakeLists.txt EXCLUDE)

if(TARGET tspec-sim)
  install(TARGETS tspec-sim DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT sim)
  install(FILES docs/man/tspec-sim.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT sim)
  install(DIRECTORY scenarios DESTINATION ${CMAKE_INSTALL_DATADIR}/tspec COMPONENT sim)
  install(FILES ${completions}/tspec-sim
    DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions COMPONENT sim OPTIONAL)
  install_link(scenarios ../../tspec/scenarios sim)
  install(FILES tools/wireshark/tspec.lua
    DESTINATION ${CMAKE_INSTALL_DATADIR}/tspec/wireshark COMPONENT sim OPTIONAL)
  install_link(tools/wireshark/tspec.lua ../../../../tspec/wireshark/tspec.lua sim)
endif()
if(TARGET tspec-sim-driver)
  # Where tspec-sim looks: beside its own folder, whatever the machine's folder
  # for libraries is called.
  install(TARGETS tspec-sim-driver DESTINATION lib/tspec COMPONENT sim)
endif()

# Symbols that were split off go where gdb finds them by the build's identity.
install(CODE "
  set(readelf \"${CMAKE_READELF}\")
  foreach(program \"$<TARGET_FILE:tspec-daemon>\" \"$<TARGET_FILE:tspec-cli>\")
    if(EXISTS \"\${program}.debug\")
      execute_process(COMMAND \${readelf} --notes \${program} OUTPUT_VARIABLE notes
                      COMMAND_ERROR_IS_FATAL ANY)
      if(notes MATCHES \"Build ID: ([0-9a-f][0-9a-f])([0-9a-f]+)\")
        file(INSTALL DESTINATION
          \${CMAKE_INSTALL_PREFIX}/lib/debug/.build-id/\${CMAKE_MATCH_1}
          TYPE FILE RENAME \${CMAKE_MATCH_2}.debug FILES \${program}.debug)
      endif()
    endif()
  endforeach()" COMPONENT symbols)

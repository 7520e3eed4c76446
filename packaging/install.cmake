# What is installed, and where: the one list, by component. The Debian packages take their files from these components,
# and "cmake --install" without one installs all of it.
#
#   library    libbluetooth-wrapper.so.0, which a device gets      ipc, ipc-dev    the framework (framework/package)
#   host       bluetoothlauncher, and what loads the module        radio           bluezradio
#   simulator  bluesim, its scenarios, simctl                      tools           itemctl
#   testkit    a private world for anybody's tests
include(CMakePackageConfigHelpers)

# A build tree has the same folders as an installed one, so that programs find what is theirs alike in both: the library
# folder of an installed tree may have another name (lib64, lib/TRIPLET), and packages need no run path at all
# (CMAKE_SKIP_INSTALL_RPATH). A build's run paths are these from the start: CMake fills up those that it rewrites later
# with empty entries, and an empty entry is the current folder.
function(bluetooth_run_path target_from_prefix)
    file(RELATIVE_PATH up /${target_from_prefix} /)
    set(paths $ORIGIN/${up}lib)
    if(NOT CMAKE_INSTALL_LIBDIR STREQUAL "lib")
        list(APPEND paths $ORIGIN/${up}${CMAKE_INSTALL_LIBDIR})
    endif()
    set_target_properties(${ARGN} PROPERTIES BUILD_WITH_INSTALL_RPATH ON INSTALL_RPATH "${paths}")
endfunction()

set(programs_host bluetoothlauncher)
set(programs_radio bluezradio)
set(programs_simulator bluesim simctl)
set(programs_tools itemctl)
set(programs_testkit bluetoothworld hostctl sync_mobile_app)
foreach(component host radio simulator tools testkit)
    list(TRANSFORM programs_${component} REPLACE "(.+)" "${PROJECT_SOURCE_DIR}/docs/\\1.1" OUTPUT_VARIABLE pages)
    install(FILES ${pages} DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT ${component})
    install(TARGETS ${programs_${component}} RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT ${component})
    bluetooth_run_path(bin ${programs_${component}})
endforeach()
install(PROGRAMS ${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/bluetoothtour
    DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT testkit)
install(FILES ${PROJECT_SOURCE_DIR}/docs/bluetoothtour.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT testkit)

# Private to the host, which opens it by this path from its own folder: whatever GNUInstallDirs would have.
set_target_properties(bluetooth-entry PROPERTIES LIBRARY_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/lib/bluetoothlauncher)
bluetooth_run_path(lib/bluetoothlauncher bluetooth-entry)
install(TARGETS bluetooth-entry LIBRARY DESTINATION lib/bluetoothlauncher COMPONENT host)

install(DIRECTORY ${CMAKE_BINARY_DIR}/share/bluesim/scenarios
    DESTINATION ${CMAKE_INSTALL_DATADIR}/bluesim COMPONENT simulator)
foreach(pair itemctl:tools simctl:simulator hostctl:testkit)
    string(REPLACE ":" ";" pair ${pair})
    list(GET pair 0 command)
    list(GET pair 1 component)
    install(FILES ${PROJECT_SOURCE_DIR}/cli/completion.bash RENAME ${command}
        DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions COMPONENT ${component})
endforeach()
# One file completes them all.
install(FILES ${PROJECT_SOURCE_DIR}/cli/completion.zsh RENAME _itemctl
    DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/site-functions COMPONENT tools)

# The interfaces as their XML, for whoever generates proxies.
install(FILES ${PROJECT_SOURCE_DIR}/dbus/com.qarn.bluetooth.xml ${PROJECT_SOURCE_DIR}/framework/bus/tov.base.Items.xml
    DESTINATION ${CMAKE_INSTALL_DATADIR}/dbus-1/interfaces COMPONENT ipc-dev)

# The host as a service: its unit, the bus of its items, who may do what on both buses. Debian's tools look for units in
# /lib alone.
set(BLUETOOTH_UNIT_DIR lib/systemd/system CACHE PATH "Where systemd's units are installed")
# The units name programs by their whole paths, which only the installation knows.
set(host_units ${PROJECT_SOURCE_DIR}/packaging/systemd/bluetoothlauncher.service.in
    ${PROJECT_SOURCE_DIR}/packaging/systemd/bluetoothlauncher-bus.service.in)
set(host_units_folder ${CMAKE_BINARY_DIR}/packaging)
set(write_units "
    foreach(unit ${host_units})
        get_filename_component(name \${unit} NAME_WLE)
        configure_file(\${unit} \${units_folder}/\${name} @ONLY)
    endforeach()")
set(units_folder ${host_units_folder})
cmake_language(EVAL CODE "${write_units}")
install(CODE "set(units_folder ${host_units_folder}/installed) ${write_units}" COMPONENT host)
install(FILES ${host_units_folder}/installed/bluetoothlauncher.service
        ${host_units_folder}/installed/bluetoothlauncher-bus.service
        packaging/systemd/bluetoothlauncher-bus.socket
    DESTINATION ${BLUETOOTH_UNIT_DIR} COMPONENT host)
foreach(kind sysusers tmpfiles)
    install(FILES packaging/systemd/${kind}.conf RENAME bluetoothlauncher.conf
        DESTINATION lib/${kind}.d COMPONENT host)
endforeach()
install(FILES packaging/dbus/com.qarn.bluetooth.conf
    DESTINATION ${CMAKE_INSTALL_DATADIR}/dbus-1/system.d COMPONENT host)
install(FILES packaging/dbus/tov.sim.Bluetooth.conf
    DESTINATION ${CMAKE_INSTALL_DATADIR}/dbus-1/system.d COMPONENT simulator)
install(FILES packaging/dbus/bus.conf DESTINATION ${CMAKE_INSTALL_DATADIR}/bluetoothlauncher COMPONENT host)

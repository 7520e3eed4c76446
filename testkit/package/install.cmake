# What test programs outside of this repository build and run with: the fixture as the CMake package
# "bluetooth-testkit", and the programs of its world, in one tree that can be moved. Programs find each other and
# their libraries beside themselves, hence the same folders as in a build tree, whatever GNUInstallDirs would have.
set(TESTKIT_PROGRAMS bluesim bluetoothlauncher bluetoothworld hostctl itemctl simctl sync_mobile_app)
set(TESTKIT_LIBRARIES bluetooth-entry bluetooth-wrapper ipc)
set_target_properties(${TESTKIT_PROGRAMS} PROPERTIES INSTALL_RPATH "$ORIGIN/../lib")
set_target_properties(bluetooth-entry ipc PROPERTIES INSTALL_RPATH "$ORIGIN")
install(TARGETS ${TESTKIT_PROGRAMS} ${TESTKIT_LIBRARIES} bluetooth-testkit bluetooth_world
    RUNTIME DESTINATION bin COMPONENT testkit
    LIBRARY DESTINATION lib COMPONENT testkit NAMELINK_SKIP
    ARCHIVE DESTINATION lib COMPONENT testkit)
install(PROGRAMS ${PROJECT_SOURCE_DIR}/world/tour RENAME bluetoothtour DESTINATION bin COMPONENT testkit)
install(DIRECTORY ${CMAKE_BINARY_DIR}/share/bluesim/scenarios DESTINATION share/bluesim COMPONENT testkit)
install(FILES ${PROJECT_SOURCE_DIR}/module/bluetooth.items.json DESTINATION share/ipc COMPONENT testkit)
install(FILES ${PROJECT_SOURCE_DIR}/docs/itemctl.1 ${PROJECT_SOURCE_DIR}/docs/simctl.1 ${PROJECT_SOURCE_DIR}/docs/hostctl.1
    DESTINATION share/man/man1 COMPONENT testkit)
foreach(command itemctl simctl hostctl)
    install(FILES ${PROJECT_SOURCE_DIR}/cli/completion.bash RENAME ${command}
        DESTINATION share/bash-completion/completions COMPONENT testkit)
endforeach()
install(FILES ${PROJECT_SOURCE_DIR}/cli/completion.zsh RENAME _itemctl
    DESTINATION share/zsh/site-functions COMPONENT testkit)
install(FILES SimulatedWorld.h DESTINATION include/bluetooth-testkit COMPONENT testkit)

set(TESTKIT_PACKAGE lib/cmake/bluetooth-testkit)
set(TESTKIT_WHERE "an installed tree")
set(TESTKIT_ARCHIVES lib)
set(TESTKIT_INCLUDES "\${bluetooth-testkit_ROOT}/include/bluetooth-testkit")
configure_file(package/bluetooth-testkit-config.cmake.in installed/bluetooth-testkit-config.cmake @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/installed/bluetooth-testkit-config.cmake
    DESTINATION ${TESTKIT_PACKAGE} COMPONENT testkit)

# The build tree is such a tree as well.
set(TESTKIT_WHERE "a build tree")
set(TESTKIT_ARCHIVES archive)
set(TESTKIT_INCLUDES ${CMAKE_CURRENT_SOURCE_DIR})
configure_file(package/bluetooth-testkit-config.cmake.in
    ${CMAKE_BINARY_DIR}/${TESTKIT_PACKAGE}/bluetooth-testkit-config.cmake @ONLY)

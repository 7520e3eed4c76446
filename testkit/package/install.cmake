# What test programs outside of this repository build with: the fixture as the CMake package "bluetooth-testkit".
set(TESTKIT_PACKAGE ${CMAKE_INSTALL_LIBDIR}/cmake/bluetooth-testkit)
install(TARGETS bluetooth-testkit bluetooth_world ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT testkit)
install(FILES SimulatedWorld.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/bluetooth-testkit COMPONENT testkit)

# The package stands as deep below the tree as it does in the other; from there it finds the rest.
file(RELATIVE_PATH TESTKIT_ROOT /${TESTKIT_PACKAGE} /)
set(TESTKIT_WHERE "an installed tree")
set(TESTKIT_ARCHIVES ${CMAKE_INSTALL_LIBDIR})
set(TESTKIT_LIBRARIES ${CMAKE_INSTALL_LIBDIR})
set(TESTKIT_INCLUDES "\${bluetooth-testkit_ROOT}/${CMAKE_INSTALL_INCLUDEDIR}/bluetooth-testkit")
configure_file(package/bluetooth-testkit-config.cmake.in installed/bluetooth-testkit-config.cmake @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/installed/bluetooth-testkit-config.cmake
    DESTINATION ${TESTKIT_PACKAGE} COMPONENT testkit)

# The build tree is such a tree as well.
set(TESTKIT_ROOT ../../..)
set(TESTKIT_WHERE "a build tree")
set(TESTKIT_ARCHIVES archive)
set(TESTKIT_LIBRARIES lib)
set(TESTKIT_INCLUDES ${CMAKE_CURRENT_SOURCE_DIR})
configure_file(package/bluetooth-testkit-config.cmake.in
    ${CMAKE_BINARY_DIR}/lib/cmake/bluetooth-testkit/bluetooth-testkit-config.cmake @ONLY)

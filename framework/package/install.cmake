# What programs outside of this repository build against: the library, its public headers as <ipc/NAME.h>, the
# CMake package "ipc" with the target ipc::ipc, and the same for pkg-config. The public headers stand in one
# folder there and name each other without one.
include(CMakePackageConfigHelpers)

set(IPC_PACKAGE_FOLDER ${CMAKE_INSTALL_LIBDIR}/cmake/ipc)

install(TARGETS ipc ipc_model EXPORT ipc
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT ipc NAMELINK_COMPONENT ipc-dev)
install(DIRECTORY api/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/ipc COMPONENT ipc-dev FILES_MATCHING PATTERN "*.h")
set(IPC_HEADERS bus/ItemRecord.h bus/ItemServer.h client/KELClientInterface.h model/RowsModel.h)
install(FILES ${IPC_HEADERS}
    DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/ipc COMPONENT ipc-dev)

configure_package_config_file(package/ipcConfig.cmake.in ipcConfig.cmake INSTALL_DESTINATION ${IPC_PACKAGE_FOLDER})
write_basic_package_version_file(ipcConfigVersion.cmake VERSION ${IPC_VERSION} COMPATIBILITY SameMajorVersion)
# The same package in the build tree, for -Dipc_DIR: a program can be built against a checkout.
file(MAKE_DIRECTORY ${CMAKE_CURRENT_BINARY_DIR}/include/ipc)
file(GLOB headers api/*.h ${IPC_HEADERS})
foreach(header ${headers})
    get_filename_component(name ${header} NAME)
    file(CREATE_LINK ${header} ${CMAKE_CURRENT_BINARY_DIR}/include/ipc/${name} SYMBOLIC)
endforeach()
target_include_directories(ipc INTERFACE $<BUILD_INTERFACE:${CMAKE_CURRENT_BINARY_DIR}/include>)
export(EXPORT ipc FILE ${CMAKE_CURRENT_BINARY_DIR}/ipcTargets.cmake NAMESPACE ipc::)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/ipcConfig.cmake ${CMAKE_CURRENT_BINARY_DIR}/ipcConfigVersion.cmake
    DESTINATION ${IPC_PACKAGE_FOLDER} COMPONENT ipc-dev)
install(EXPORT ipc FILE ipcTargets.cmake NAMESPACE ipc:: DESTINATION ${IPC_PACKAGE_FOLDER} COMPONENT ipc-dev)

# From the folder of ipc.pc up to the prefix: the library folder may be lib or lib/TRIPLET.
file(RELATIVE_PATH IPC_PREFIX_FROM_PKGCONFIG /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
# Where the loader looks by itself, programs are not to carry the path; below any other prefix they do not start without.
set(IPC_RUN_PATH "")
configure_file(package/ipc.pc.in package/standard/ipc.pc @ONLY)
set(IPC_RUN_PATH " -Wl,-rpath,\${libdir}")
configure_file(package/ipc.pc.in package/elsewhere/ipc.pc @ONLY)
install(CODE "
    set(place elsewhere)
    if(CMAKE_INSTALL_PREFIX MATCHES \"^/usr(/local)?/?\$\")
        set(place standard)
    endif()
    file(INSTALL \"${CMAKE_CURRENT_BINARY_DIR}/package/\${place}/ipc.pc\"
        DESTINATION \"\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_LIBDIR}/pkgconfig\")" COMPONENT ipc-dev)

# Builds the module as a device team does: against headers and a library from outside, which here are another
# release of the framework, with module/Framework.h as the only file that is touched.
#   cmake -DROOT=… -DSCRATCH=… -DGENERATOR=… -DCOMPILER=… -DHEADERS=… -DLIBRARY=… -DOURS=… -P PortingTest.cmake
cmake_minimum_required(VERSION 3.25)
file(REMOVE_RECURSE ${SCRATCH})
file(MAKE_DIRECTORY ${SCRATCH})
# Our own messages are the last thing to be seen, and nothing stays behind.
function(give_up message)
    file(REMOVE_RECURSE ${SCRATCH})
    message(FATAL_ERROR "${message}")
endfunction()

# run(COMMAND...): ends the test when the command fails; leaves its output in RUN_OUTPUT.
function(run)
    execute_process(COMMAND ${ARGV} OUTPUT_VARIABLE output ERROR_VARIABLE output RESULT_VARIABLE status)
    if(NOT status EQUAL 0)
        list(JOIN ARGV " " line)
        give_up("${line}\n${output}")
    endif()
    set(RUN_OUTPUT "${output}" PARENT_SCOPE)
endfunction()

# refused(EXPECTED ARGUMENT...): configuring with these arguments has to fail with a message.
function(refused expected)
    execute_process(COMMAND ${CMAKE_COMMAND} ${configure} -S ${SCRATCH}/source -B ${SCRATCH}/build ${ARGN}
        OUTPUT_VARIABLE output ERROR_VARIABLE output RESULT_VARIABLE status)
    string(REGEX REPLACE "[ \n]+" " " output "${output}")
    string(FIND "${output}" "${expected}" position)
    if(status EQUAL 0 OR position EQUAL -1)
        give_up("expected \"${expected}\" of ${ARGN}, found ${status}:\n${output}")
    endif()
endfunction()

set(configure -G ${GENERATOR} -DCMAKE_CXX_COMPILER=${COMPILER} -DCMAKE_BUILD_TYPE=Debug
    "-DCMAKE_CXX_FLAGS_DEBUG=-O0")

# The sources of what ships and nothing else.
file(COPY ${ROOT}/CMakeLists.txt ${ROOT}/cmake ${ROOT}/module ${ROOT}/dbus ${ROOT}/util
    DESTINATION ${SCRATCH}/source)
file(COPY_FILE ${ROOT}/tests/porting/Framework.h ${SCRATCH}/source/module/Framework.h)

refused("IPC_FRAMEWORK is \"none\"" -DIPC_FRAMEWORK=none)
refused("needs IPC_INCLUDE_DIRS" -DIPC_FRAMEWORK=system)
refused("/no/such, which is not a folder" -DIPC_FRAMEWORK=system -DIPC_INCLUDE_DIRS=/no/such)
refused("IPC_LIBRARY is \"/no/such.so\"" -DIPC_FRAMEWORK=system -DIPC_INCLUDE_DIRS=${HEADERS}
    -DIPC_LIBRARY=/no/such.so)

run(${CMAKE_COMMAND} ${configure} -S ${SCRATCH}/source -B ${SCRATCH}/build
    -DIPC_FRAMEWORK=system -DIPC_INCLUDE_DIRS=${HEADERS} -DIPC_LIBRARY=${LIBRARY})
run(${CMAKE_COMMAND} --build ${SCRATCH}/build)
file(READ ${SCRATCH}/build/compile_commands.json commands)
if(commands MATCHES "-Werror")
    give_up("a warning of another compiler would stop the build: it is called with -Werror")
endif()

run(readelf -d ${SCRATCH}/build/lib/libbluetooth-wrapper.so.0)
foreach(name "soname: [libbluetooth-wrapper.so.0]" "library: [libipc.so.1]")
    string(FIND "${RUN_OUTPUT}" "${name}" position)
    if(position EQUAL -1)
        give_up("no ${name} in\n${RUN_OUTPUT}")
    endif()
endforeach()
if(RUN_OUTPUT MATCHES "RPATH|RUNPATH")
    give_up("the library names a folder to search:\n${RUN_OUTPUT}")
endif()

# What a device's team installs, and asks before it drops a file of ours in.
run(${CMAKE_COMMAND} --install ${SCRATCH}/build --component library --prefix ${SCRATCH}/device)
file(GLOB_RECURSE installed RELATIVE ${SCRATCH}/device ${SCRATCH}/device/*)
if(NOT installed MATCHES "libbluetooth-wrapper.so;.*libbluetooth-wrapper.so.0;.*/bluetooth.items.json$")
    give_up("installed is ${installed}")
endif()
run(${ROOT}/module/compare-symbols ${LIBRARY} ${SCRATCH}/build/lib/libbluetooth-wrapper.so.0)
execute_process(COMMAND ${ROOT}/module/compare-symbols ${LIBRARY} ${OURS}
    OUTPUT_VARIABLE output ERROR_VARIABLE output RESULT_VARIABLE status)
if(NOT status EQUAL 1 OR NOT output MATCHES "\nServerModule::setResult\\(" OR NOT output MATCHES "IPC_FRAMEWORK=system")
    give_up("a library for another framework is compared with ${status}:\n${output}")
endif()
file(REMOVE_RECURSE ${SCRATCH})

# Installs the built tree into an empty folder, and builds and runs a project there that finds it by CMake's
# package file, and one that finds it by pkg-config. Then with libraries of a frame grabber beside it.
#   cmake -DBUILD=<build> -DCONSUMER=<project> -DEXAMPLES=<folder> -DWORK=<folder> -DSOCKET=<of the service>
#         -P check_consumer.cmake
function(run)
    execute_process(COMMAND ${ARGV} RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE output)
    if(result)
        message(FATAL_ERROR "${ARGV}: ${result}\n${output}")
    endif()
endfunction()

# The program that sees changes of a camera, beside the service that opens its board, in a folder of its own.
function(run_with_service program)
    file(MAKE_DIRECTORY "${WORK}/run")
    file(WRITE "${WORK}/run/boards.conf" "[board 0]\n[board 0 port 0 camera]\n")
    execute_process(
        COMMAND ${CMAKE_COMMAND} -E env "LIOMOL_SOFTBOARD=boards.conf" sh -ec [[
            "$0" --boards 0 --state addresses & service=$!
            trap 'kill $service; wait $service' EXIT
            left=600
            while [ ! -S "$2" ] && [ $left -gt 0 ]; do sleep 0.1; left=$((left - 1)); done
            "$1"
        ]] "${WORK}/installed/sbin/gbe-service" "${program}" "${SOCKET}"
        WORKING_DIRECTORY "${WORK}/run" RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE output)
    if(result)
        message(FATAL_ERROR "${program}: ${result}\n${output}")
    endif()
endfunction()

# Compiles a source with what pkg-config tells of a package, and more of the caller's.
function(compile_by_pkg_config package source output)
    execute_process(COMMAND pkg-config --cflags --libs ${package}
                    OUTPUT_VARIABLE flags OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
    separate_arguments(flags)
    run(${ARGN} "${source}" -o "${output}" ${flags} "-Wl,-rpath,${libraries}")
endfunction()

file(REMOVE_RECURSE "${WORK}")
run(${CMAKE_COMMAND} --install "${BUILD}" --prefix "${WORK}/installed")
run(${CMAKE_COMMAND} -G Ninja -S "${CONSUMER}" -B "${WORK}/build" "-DCMAKE_PREFIX_PATH=${WORK}/installed"
    "-DEXAMPLES=${EXAMPLES}")
run(${CMAKE_COMMAND} --build "${WORK}/build")
run("${WORK}/build/consumer")
run_with_service("${WORK}/build/qt_signals")

file(GLOB_RECURSE package "${WORK}/installed/*/liomol.pc")
cmake_path(GET package PARENT_PATH packages)
cmake_path(GET packages PARENT_PATH libraries)
set(ENV{PKG_CONFIG_PATH} "${packages}")
compile_by_pkg_config(liomol "${CONSUMER}/main.c" "${WORK}/by-pkg-config" cc -std=c99)
run("${WORK}/by-pkg-config")
compile_by_pkg_config(liomol-qt "${EXAMPLES}/qt_signals.cpp" "${WORK}/qt-by-pkg-config" c++ -std=c++20 -fPIC)

# The frame grabber's own library answers where there is one, in the loader's path or beside liomol, and another
# installation does not overwrite it.
function(expect_vendor expected)
    execute_process(COMMAND "${CMAKE_COMMAND}" -E env ${ARGN} "${WORK}/by-pkg-config"
                    OUTPUT_VARIABLE output COMMAND_ERROR_IS_FATAL ANY)
    string(FIND "${output}" "the vendor's library was asked for board 0" found)
    if((found EQUAL -1) EQUAL expected)
        message(FATAL_ERROR "vendor's library asked: not ${expected}, with ${ARGN}\n${output}")
    endif()
endfunction()
file(MAKE_DIRECTORY "${WORK}/vendor")
foreach(name IN ITEMS tavo_hw kemrt)
    run(cc -shared -fPIC "${CONSUMER}/vendor.c" -o "${WORK}/vendor/lib${name}.so")
endforeach()
expect_vendor(FALSE)
expect_vendor(TRUE "LD_LIBRARY_PATH=${WORK}/vendor")
file(COPY "${WORK}/vendor/" DESTINATION "${libraries}")
expect_vendor(TRUE)
run(${CMAKE_COMMAND} --install "${BUILD}" --prefix "${WORK}/installed")
expect_vendor(TRUE)

file(GLOB_RECURSE headers RELATIVE "${WORK}/installed" "${WORK}/installed/*.h")
foreach(header IN LISTS headers)
    if(NOT header MATCHES "^include/liomol/[^/]+$")
        message(FATAL_ERROR "${header} is installed and not public")
    endif()
endforeach()

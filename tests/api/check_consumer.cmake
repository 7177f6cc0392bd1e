# Installs the built tree into an empty folder, and builds and runs a project there that finds it by CMake's
# package file, and one that finds it by pkg-config.
#   cmake -DBUILD=<build> -DCONSUMER=<project> -DWORK=<folder> -P check_consumer.cmake
function(run)
    execute_process(COMMAND ${ARGV} RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE output)
    if(result)
        message(FATAL_ERROR "${ARGV}: ${result}\n${output}")
    endif()
endfunction()

file(REMOVE_RECURSE "${WORK}")
run(${CMAKE_COMMAND} --install "${BUILD}" --prefix "${WORK}/installed")
run(${CMAKE_COMMAND} -G Ninja -S "${CONSUMER}" -B "${WORK}/build" "-DCMAKE_PREFIX_PATH=${WORK}/installed")
run(${CMAKE_COMMAND} --build "${WORK}/build")
run("${WORK}/build/consumer")

file(GLOB_RECURSE package "${WORK}/installed/*/liomol.pc")
cmake_path(GET package PARENT_PATH packages)
set(ENV{PKG_CONFIG_PATH} "${packages}")
execute_process(COMMAND pkg-config --cflags --libs liomol
                OUTPUT_VARIABLE flags OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
separate_arguments(flags)
cmake_path(GET packages PARENT_PATH libraries)
run(cc -std=c99 "${CONSUMER}/main.c" -o "${WORK}/by-pkg-config" ${flags} "-Wl,-rpath,${libraries}"
    "-Wl,-rpath-link,${libraries}")
run("${WORK}/by-pkg-config")

file(GLOB_RECURSE headers RELATIVE "${WORK}/installed" "${WORK}/installed/*.h")
foreach(header IN LISTS headers)
    if(NOT header MATCHES "^include/liomol/[^/]+$")
        message(FATAL_ERROR "${header} is installed and not public")
    endif()
endforeach()

# Installs the built tree into an empty folder, and builds and runs a project there that finds it by CMake's
# package file, and one that finds it by pkg-config. Then with libraries of a frame grabber beside it.
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
run(cc -std=c99 "${CONSUMER}/main.c" -o "${WORK}/by-pkg-config" ${flags} "-Wl,-rpath,${libraries}")
run("${WORK}/by-pkg-config")

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

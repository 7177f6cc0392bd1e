# Build options, each with its default; CMakePresets.json gives the usual combinations.
set(LIOMOL_SANITIZE "" CACHE STRING "Sanitizers to build with: empty, address (with undefined), thread")
set(LIOMOL_SERVICE_SOCKET "/var/run/tavo-gbe/sock" CACHE STRING
    "Path of the local service's socket, compiled into library and service; a relative path is below the working directory")
set(LIOMOL_CONFIG_DIR "/etc/liomol" CACHE PATH
    "Folder of gbe-service.conf and softboard.conf, compiled into service, board in software and gbe, wherever those are installed")
set(LIOMOL_STATE_DIR "/var/lib/gbe-service" CACHE PATH "Folder in which the service keeps addresses that clients gave to ports")
set(LIOMOL_BOARD_FILE "${LIOMOL_CONFIG_DIR}/softboard.conf" CACHE STRING
    "File that describes the boards in software; the only one that liomol-netport believes")
set(LIOMOL_NETPORT "" CACHE STRING
    "Where the board in software finds the program that lends packet sockets, compiled in; empty: where it is installed")
if(NOT LIOMOL_NETPORT) # not kept: it follows the install prefix
    set(LIOMOL_NETPORT "${CMAKE_INSTALL_FULL_LIBEXECDIR}/liomol/liomol-netport")
endif()
option(LIOMOL_PACKAGES "Install what only packages have: changelogs, copyright, service configuration, tmpfiles" OFF)
option(LIOMOL_WERROR "Treat warnings as errors" ON)
option(LIOMOL_BUILD_APPS "Build gbe, gbe-service and the examples" ON)
option(LIOMOL_BUILD_TESTS "Build the tests" ON)
option(LIOMOL_BUILD_BENCH "Build the benchmarks" OFF)
option(LIOMOL_BUILD_FUZZ "Build the fuzz targets (clang)" OFF)

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_C_STANDARD 99)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_C_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/bin")
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/lib")

find_program(LIOMOL_CCACHE ccache)
if(LIOMOL_CCACHE)
    set(CMAKE_C_COMPILER_LAUNCHER "${LIOMOL_CCACHE}")
    set(CMAKE_CXX_COMPILER_LAUNCHER "${LIOMOL_CCACHE}")
endif()

# Large files, and large numbers of small ones, also on 32 bits: without it looking at such a file fails there.
if(CMAKE_SIZEOF_VOID_P EQUAL 4)
    add_compile_definitions(_FILE_OFFSET_BITS=64)
endif()

# Nothing that is built names the folder that it was built in: two builds of one source are the same.
option(LIOMOL_REPRODUCIBLE "Leave the names of the source's and the build's folders out of what is built" OFF)
if(LIOMOL_REPRODUCIBLE)
    add_compile_options("-ffile-prefix-map=${CMAKE_BINARY_DIR}=build" "-ffile-prefix-map=${CMAKE_SOURCE_DIR}=.")
    # Programs find the library beside them; the name of its folder would stay in them, blanked, by its length.
    set(CMAKE_BUILD_RPATH_USE_ORIGIN ON)
endif()

# What every target of the project compiles with.
add_library(liomol_options INTERFACE)
target_compile_options(liomol_options INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wundef
    $<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor>
    $<$<COMPILE_LANGUAGE:CXX>:-Woverloaded-virtual>
    $<$<BOOL:${LIOMOL_WERROR}>:-Werror>)
# At -O3 g++ 12 takes an append to a vector whose size it has lost for an overrun, and a text in front of a
# std::string for one that overlaps it.
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_BUILD_TYPE STREQUAL "Release")
    target_compile_options(liomol_options INTERFACE -Wno-stringop-overflow -Wno-restrict)
endif()
# What one source declares for itself, the ones that are compiled together with it see too.
if(CMAKE_UNITY_BUILD)
    target_compile_options(liomol_options INTERFACE -Wno-shadow $<$<COMPILE_LANGUAGE:CXX>:-Wno-subobject-linkage>)
endif()
# Qt's signals and slots are written Q_SIGNALS, Q_SLOTS, Q_EMIT: names like "slots" stay free for others.
target_compile_definitions(liomol_options INTERFACE QT_NO_KEYWORDS)

if(LIOMOL_SANITIZE STREQUAL "address")
    add_compile_options(-fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
    add_link_options(-fsanitize=address,undefined)
    add_compile_options(-Wno-array-bounds) # g++ 12 sees overruns in the sanitizers' own branches
elseif(LIOMOL_SANITIZE STREQUAL "thread")
    add_compile_options(-fsanitize=thread -fno-omit-frame-pointer)
    add_link_options(-fsanitize=thread)
elseif(LIOMOL_SANITIZE)
    message(FATAL_ERROR "LIOMOL_SANITIZE is '${LIOMOL_SANITIZE}': use address or thread")
endif()

# The fuzzer steers by the coverage of all code, not only of the target's own file.
if(LIOMOL_BUILD_FUZZ)
    add_compile_options(-fsanitize=fuzzer-no-link)
endif()

# Shared libraries find every symbol when they are linked. Clang has the sanitizers' symbols in the program alone.
if(LIOMOL_SANITIZE AND CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
    set(LIOMOL_NO_UNDEFINED "")
else()
    set(LIOMOL_NO_UNDEFINED "LINKER:--no-undefined")
endif()

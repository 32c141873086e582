# What every room of the house shares: language level, warnings, include root, precompiled headers, ccache.
include(GNUInstallDirs)

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
# Console, server and script process lie side by side: the console looks for its server beside itself.
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/bin")
# The way from the programs to the guide's pages, in the build folder as where they are installed. What programs read does
# not lie below share/doc: systems without documents leave that out.
set(VELSQL_GUIDE_FOLDER "${CMAKE_INSTALL_DATAROOTDIR}/velsqltester/guide")
file(RELATIVE_PATH VELSQL_GUIDE "${CMAKE_INSTALL_FULL_BINDIR}" "${CMAKE_INSTALL_FULL_DATAROOTDIR}/velsqltester/guide")

find_package(Qt6 6.4 REQUIRED COMPONENTS Core DBus Gui Widgets Sql Qml Svg)
find_package(CapnProto REQUIRED)
find_package(Threads REQUIRED)

find_program(CCACHE_PROGRAM ccache)
if(VELSQL_CCACHE AND CCACHE_PROGRAM)
    # Precompiled headers are only cacheable when ccache may look past their time stamps and defines. With the root as base
    # directory every path is seen relative to the build, so that build folders and clones share what was compiled once.
    set(CMAKE_CXX_COMPILER_LAUNCHER
        ${CMAKE_COMMAND} -E env CCACHE_SLOPPINESS=pch_defines,time_macros,include_file_mtime,include_file_ctime
        CCACHE_BASEDIR=/ CCACHE_NOHASHDIR=1 ${CCACHE_PROGRAM})
endif()

add_library(velsql_options INTERFACE)
target_include_directories(velsql_options INTERFACE "${CMAKE_SOURCE_DIR}")
target_compile_options(velsql_options INTERFACE -Wall -Wextra -Wpedantic -Wconversion $<$<BOOL:${VELSQL_WERROR}>:-Werror>)
target_compile_definitions(velsql_options INTERFACE QT_NO_CAST_FROM_ASCII QT_NO_CAST_TO_ASCII QT_NO_KEYWORDS
    QT_DISABLE_DEPRECATED_BEFORE=0x060400 VELSQL_VERSION="${PROJECT_VERSION}")
if(VELSQL_PCH AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    target_compile_options(velsql_options INTERFACE -fpch-preprocess -Winvalid-pch)
endif()

# velsql_precompiled(<kind> LINKS <library>...): cmake/<kind>.h, compiled once and shared by every target of that kind.
function(velsql_precompiled kind)
    cmake_parse_arguments(ARG "" "" "LINKS" ${ARGN})
    if(VELSQL_PCH)
        file(GENERATE OUTPUT "${CMAKE_BINARY_DIR}/pch_${kind}.cpp" CONTENT "")
        add_library(pch_${kind} OBJECT EXCLUDE_FROM_ALL "${CMAKE_BINARY_DIR}/pch_${kind}.cpp")
        target_link_libraries(pch_${kind} PRIVATE ${ARG_LINKS} Threads::Threads velsql_options)
        target_precompile_headers(pch_${kind} PRIVATE "${PROJECT_SOURCE_DIR}/cmake/${kind}.h")
    endif()
endfunction()

# velsql_configure(<target> [PCH core|widgets|tests] LINKS <library>...)
function(velsql_configure target)
    cmake_parse_arguments(ARG "" "PCH" "LINKS" ${ARGN})
    target_link_libraries(${target} PUBLIC ${ARG_LINKS} PRIVATE Threads::Threads velsql_options)
    set_target_properties(${target} PROPERTIES AUTOMOC ON AUTOUIC ON AUTORCC ON)
    if(VELSQL_PCH AND ARG_PCH)
        target_precompile_headers(${target} REUSE_FROM pch_${ARG_PCH})
    endif()
endfunction()

# velsql_library(<name> SOURCES <file>... [PCH <kind>] LINKS <library>...)
function(velsql_library name)
    cmake_parse_arguments(ARG "" "PCH" "SOURCES;LINKS" ${ARGN})
    add_library(${name} STATIC ${ARG_SOURCES})
    velsql_configure(${name} PCH ${ARG_PCH} LINKS ${ARG_LINKS})
endfunction()

# velsql_program(<name> SOURCES <file>... [PCH <kind>] LINKS <library>...)
function(velsql_program name)
    cmake_parse_arguments(ARG "" "PCH" "SOURCES;LINKS" ${ARGN})
    add_executable(${name} ${ARG_SOURCES})
    velsql_configure(${name} PCH ${ARG_PCH} LINKS ${ARG_LINKS})
endfunction()

velsql_precompiled(core LINKS Qt6::Core CapnProto::capnp-rpc)
velsql_precompiled(widgets LINKS Qt6::Widgets)

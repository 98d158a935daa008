# SPDX-License-Identifier: GPL-3.0-or-later
# The few functions by which every target of the project is made.

find_program(VELMOR_CCACHE ccache)
if(VELMOR_CCACHE)
    set(CMAKE_CXX_COMPILER_LAUNCHER "${VELMOR_CCACHE}")
endif()

# How all of our own code is compiled. Contraction of a multiplication and an addition
# into one rounding would change the bits that the weighting filters produce.
add_library(velmor_options INTERFACE)
target_compile_features(velmor_options INTERFACE cxx_std_20)
# A program loads only the libraries whose functions it calls.
target_link_options(velmor_options INTERFACE -Wl,--as-needed)
target_compile_options(velmor_options INTERFACE
    -ffp-contract=off
    -Wall -Wextra -Wpedantic -Wconversion -Wsign-conversion -Wshadow -Wold-style-cast
    -Wcast-qual -Wnon-virtual-dtor -Woverloaded-virtual -Wdouble-promotion -Wformat=2
    -Wundef -Werror
    # A designated initialiser leaves out what has its default on purpose.
    -Wno-missing-field-initializers
    $<$<CXX_COMPILER_ID:GNU>:-Wduplicated-cond -Wduplicated-branches -Wlogical-op -Wuseless-cast>)
if(VELMOR_SANITIZERS)
    target_compile_options(velmor_options INTERFACE
        -fsanitize=${VELMOR_SANITIZERS} -fno-sanitize-recover=all -fno-omit-frame-pointer
        # The instrumented code leads GCC 12 to see uninitialised values inside library headers.
        $<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized>)
    target_link_options(velmor_options INTERFACE -fsanitize=${VELMOR_SANITIZERS})
endif()
option(VELMOR_BRANCH_MARKS "Mark where indirect branches may lead, on processors that look at it" OFF)
if(VELMOR_BRANCH_MARKS AND CMAKE_SYSTEM_PROCESSOR STREQUAL x86_64)
    target_compile_options(velmor_options INTERFACE -fcf-protection)
endif()
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_VERIFY_INTERFACE_HEADER_SETS ON)

# velmor_subsystem(NAME [HEADERS file...] [SOURCES file...] [USES subsystem...]
#                  [LINKS target...] [LINKS_PRIVATELY target...])
#
# One subsystem: the library velmor_NAME. Its files lie in the folder of its own name below
# the present one, which is so the include root: a header is <NAME/Class.h> for those who
# name the subsystem in USES, and does not exist for the others.
function(velmor_subsystem name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "HEADERS;SOURCES;USES;LINKS;LINKS_PRIVATELY")
    set(target velmor_${name})
    list(TRANSFORM arg_HEADERS PREPEND "${CMAKE_CURRENT_SOURCE_DIR}/${name}/")
    list(TRANSFORM arg_SOURCES PREPEND "${CMAKE_CURRENT_SOURCE_DIR}/${name}/")
    list(TRANSFORM arg_USES PREPEND velmor_)

    if(arg_SOURCES)
        add_library(${target} STATIC ${arg_SOURCES})
        set(reach PUBLIC)
        target_link_libraries(${target} PRIVATE velmor_options ${arg_LINKS_PRIVATELY})
    else()
        add_library(${target} INTERFACE)
        set(reach INTERFACE)
    endif()
    target_sources(${target} ${reach} FILE_SET HEADERS
        BASE_DIRS "${CMAKE_CURRENT_SOURCE_DIR}" FILES ${arg_HEADERS})
    target_compile_features(${target} ${reach} cxx_std_20)
    target_link_libraries(${target} ${reach} ${arg_USES} ${arg_LINKS})
endfunction()

# velmor_program(NAME SOURCES file... [USES subsystem...] [LINKS target...])
function(velmor_program name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SOURCES;USES;LINKS")
    list(TRANSFORM arg_USES PREPEND velmor_)
    add_executable(${name} ${arg_SOURCES})
    target_link_libraries(${name} PRIVATE velmor_options ${arg_USES} ${arg_LINKS})
endfunction()

# velmor_test(NAME SOURCES file... [USES subsystem...] [LINKS target...] [PROGRAMS target...]
#             [TIMEOUT seconds] [ALONE])
#
# Builds the GoogleTest program NAME, and the programs that it runs, and registers each of its
# tests. The folder of the build's programs is in their environment, as VELMOR_PROGRAMS.
# ALONE keeps the tests from running beside others: for those that compare durations.
function(velmor_test name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "ALONE" "TIMEOUT" "SOURCES;USES;LINKS;PROGRAMS")
    list(TRANSFORM arg_USES PREPEND velmor_)
    if(NOT arg_TIMEOUT)
        set(arg_TIMEOUT 120)
    endif()
    add_executable(${name} ${arg_SOURCES})
    target_include_directories(${name} PRIVATE "${PROJECT_SOURCE_DIR}/tests")
    target_link_libraries(${name} PRIVATE
        velmor_options ${arg_USES} ${arg_LINKS} GTest::gmock GTest::gtest_main)
    if(arg_PROGRAMS)
        add_dependencies(${name} ${arg_PROGRAMS})
    endif()
    include(GoogleTest)
    gtest_discover_tests(${name} DISCOVERY_MODE PRE_TEST
        PROPERTIES TIMEOUT ${arg_TIMEOUT} RUN_SERIAL "${arg_ALONE}" ENVIRONMENT "VELMOR_PROGRAMS=${CMAKE_RUNTIME_OUTPUT_DIRECTORY}")
endfunction()

# velmor_must_not_compile(NAME SOURCE file [USES subsystem...])
#
# Registers a test that passes only where compiling SOURCE fails: for walls that the
# compiler is to hold. The same file is compiled with -DVELMOR_ALLOWED first, so that it
# fails for its own reason and not for a slip of the pen.
function(velmor_must_not_compile name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "SOURCE" "USES")
    list(TRANSFORM arg_USES PREPEND velmor_)
    foreach(kind IN ITEMS allowed forbidden)
        add_library(${name}_${kind} OBJECT EXCLUDE_FROM_ALL ${arg_SOURCE})
        target_link_libraries(${name}_${kind} PRIVATE velmor_options ${arg_USES})
        add_test(NAME ${name}.${kind}
            COMMAND "${CMAKE_COMMAND}" --build "${PROJECT_BINARY_DIR}" --target ${name}_${kind})
        set_tests_properties(${name}.${kind} PROPERTIES RUN_SERIAL ON)
    endforeach()
    target_compile_definitions(${name}_allowed PRIVATE VELMOR_ALLOWED)
    set_tests_properties(${name}.forbidden PROPERTIES WILL_FAIL ON)
endfunction()

# velmor_benchmark(NAME SOURCES file... [USES subsystem...] [LINKS library...])
function(velmor_benchmark name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SOURCES;USES;LINKS")
    list(TRANSFORM arg_USES PREPEND velmor_)
    add_executable(${name} ${arg_SOURCES})
    target_include_directories(${name} PRIVATE "${PROJECT_SOURCE_DIR}/tests")
    target_link_libraries(${name} PRIVATE velmor_options ${arg_USES} ${arg_LINKS} benchmark::benchmark_main)
endfunction()

# velmor_fuzzer(NAME SOURCES file... [USES subsystem...] [LINKS library...])
function(velmor_fuzzer name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SOURCES;USES;LINKS")
    list(TRANSFORM arg_USES PREPEND velmor_)
    add_executable(${name} ${arg_SOURCES})
    target_include_directories(${name} PRIVATE "${PROJECT_SOURCE_DIR}/tests")
    target_link_libraries(${name} PRIVATE velmor_options ${arg_USES} ${arg_LINKS})
    target_link_options(${name} PRIVATE -fsanitize=fuzzer)
endfunction()

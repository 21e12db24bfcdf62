# What every target of this tree shares: warnings as errors and the chosen sanitizers.
# An outside project that uses the installed package sees none of it.
add_library(quillon_build_flags INTERFACE)
target_compile_options(quillon_build_flags INTERFACE -Wall -Wextra -Wpedantic -Werror)
# GCC 12 sees overlaps in plain string concatenation that are not there.
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
    target_compile_options(quillon_build_flags INTERFACE -Wno-restrict)
endif()
if(QUILLON_SANITIZE)
    target_compile_options(quillon_build_flags INTERFACE
        -fsanitize=${QUILLON_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
    target_link_options(quillon_build_flags INTERFACE -fsanitize=${QUILLON_SANITIZE})
endif()

# For what is not shipped: AddressSanitizer tells where a null pointer is used, too, and looking at
# each pointer beforehand, whether it is null or at an odd address, takes a third of the time to
# compile. The library, the front end and the wire are looked at. Link it behind quillon_build_flags.
add_library(quillon_fewer_checks INTERFACE)
if(QUILLON_SANITIZE MATCHES "undefined")
    target_compile_options(quillon_fewer_checks INTERFACE -fno-sanitize=null,alignment)
endif()

# For the targets whose lines are counted; the counts are right with several threads, too.
add_library(quillon_counted INTERFACE)
if(QUILLON_COVERAGE)
    target_compile_options(quillon_counted INTERFACE --coverage -fprofile-update=atomic)
    target_link_options(quillon_counted INTERFACE --coverage)
endif()

# quillon_unite(target n): n sources are compiled as one, and read what they include once. Without
# QUILLON_UNITE the target stays as the preset makes all targets: the lint reads more at a time.
function(quillon_unite target count)
    if(QUILLON_UNITE)
        set_target_properties(${target} PROPERTIES UNITY_BUILD ON UNITY_BUILD_BATCH_SIZE ${count})
    endif()
endfunction()

# The headers of the standard library that most sources of a target include, and further ones,
# compiled once.
function(quillon_precompile_headers target)
    if(QUILLON_PRECOMPILE)
        target_precompile_headers(${target} PRIVATE <algorithm> <array> <chrono> <cstdint> <functional>
            <map> <memory> <optional> <string> <string_view> <utility> <vector> ${ARGN})
    endif()
endfunction()

# Tests are compiled without optimisation, which takes half the time: what they test has its own.
add_library(quillon_test_flags INTERFACE)
target_link_libraries(quillon_test_flags INTERFACE quillon_build_flags quillon_fewer_checks)
if(NOT MSVC)
    target_compile_options(quillon_test_flags INTERFACE -O0)
endif()

# The headers that nearly every test includes, compiled once. They belong to a program, not to a
# library: the compiler takes them only where it is called with the same flags.
function(quillon_precompile_test_headers)
    file(WRITE ${CMAKE_CURRENT_BINARY_DIR}/precompiled.cpp "int main() {}\n")
    add_executable(quillon_test_headers EXCLUDE_FROM_ALL ${CMAKE_CURRENT_BINARY_DIR}/precompiled.cpp)
    target_link_libraries(quillon_test_headers PRIVATE quillon_test_flags GTest::gmock GTest::gtest_main)
    target_precompile_headers(quillon_test_headers PRIVATE <gmock/gmock.h> <gtest/gtest.h>
        <algorithm> <functional> <map> <memory> <optional> <string> <thread> <vector>)
endfunction()

# quillon_test_program(NAME name SOURCES file... LIBS target...): a program of tests that ctest does
# not run as it stands.
function(quillon_test_program)
    cmake_parse_arguments(ARG "" "NAME" "SOURCES;LIBS" ${ARGN})
    add_executable(${ARG_NAME} ${ARG_SOURCES})
    target_link_libraries(${ARG_NAME} PRIVATE quillon_test_flags ${ARG_LIBS} GTest::gmock GTest::gtest_main)
    target_include_directories(${ARG_NAME} PRIVATE ${PROJECT_SOURCE_DIR} ${PROJECT_SOURCE_DIR}/src)
    target_precompile_headers(${ARG_NAME} REUSE_FROM quillon_test_headers)
    quillon_unite(${ARG_NAME} 12)
endfunction()

# quillon_test(NAME name SOURCES file... LIBS target... [PARTS n] [COST seconds]): one test program, run
# by ctest as `name`; or in n parts, side by side, where many of its tests wait. ctest starts what costs
# most first, so that nothing long is left over when all the others have ended.
function(quillon_test)
    cmake_parse_arguments(ARG "" "NAME;PARTS;COST" "SOURCES;LIBS" ${ARGN})
    if(NOT ARG_COST)
        set(ARG_COST 0)
    endif()
    quillon_test_program(NAME ${ARG_NAME} SOURCES ${ARG_SOURCES} LIBS ${ARG_LIBS})
    set(environment "ODBCSYSINI=${PROJECT_BINARY_DIR}/odbc")
    if(NOT ARG_PARTS)
        add_test(NAME ${ARG_NAME} COMMAND ${ARG_NAME})
        set_tests_properties(${ARG_NAME} PROPERTIES ENVIRONMENT "${environment}" TIMEOUT 900
            COST ${ARG_COST})
        return()
    endif()
    math(EXPR last "${ARG_PARTS} - 1")
    foreach(part RANGE ${last})
        add_test(NAME ${ARG_NAME}_${part} COMMAND ${ARG_NAME})
        set_tests_properties(${ARG_NAME}_${part} PROPERTIES TIMEOUT 900 COST ${ARG_COST} ENVIRONMENT
            "${environment};GTEST_TOTAL_SHARDS=${ARG_PARTS};GTEST_SHARD_INDEX=${part}")
    endforeach()
endfunction()

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

# quillon_test(NAME name SOURCES file... LIBS target...): one test program, run by ctest as `name`.
function(quillon_test)
    cmake_parse_arguments(ARG "" "NAME" "SOURCES;LIBS" ${ARGN})
    add_executable(${ARG_NAME} ${ARG_SOURCES})
    target_link_libraries(${ARG_NAME} PRIVATE quillon_build_flags ${ARG_LIBS} GTest::gmock GTest::gtest_main)
    target_include_directories(${ARG_NAME} PRIVATE ${PROJECT_SOURCE_DIR} ${PROJECT_SOURCE_DIR}/src)
    add_test(NAME ${ARG_NAME} COMMAND ${ARG_NAME})
    set_tests_properties(${ARG_NAME} PROPERTIES
        ENVIRONMENT "ODBCSYSINI=${PROJECT_BINARY_DIR}/odbc" TIMEOUT 900)
endfunction()

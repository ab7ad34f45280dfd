# `format-check` fails when a C++ source differs from what clang-format would write;
# `format` rewrites them in place. Both look for sources when they run, so files added or deleted
# since the last configure are taken as they are.
find_program(CLANG_FORMAT_EXE NAMES clang-format-14 clang-format)
if(CLANG_FORMAT_EXE)
    set(ORVEX_FORMAT_RUN ${CMAKE_COMMAND} -DCLANG_FORMAT=${CLANG_FORMAT_EXE} -DSOURCE_ROOT=${CMAKE_SOURCE_DIR})
    add_custom_target(format-check
        COMMAND ${ORVEX_FORMAT_RUN} -DMODE=check -P ${CMAKE_SOURCE_DIR}/cmake/RunClangFormat.cmake
        COMMENT "Checking C++ formatting")
    add_custom_target(format
        COMMAND ${ORVEX_FORMAT_RUN} -DMODE=fix -P ${CMAKE_SOURCE_DIR}/cmake/RunClangFormat.cmake
        COMMENT "Formatting C++ sources")
    if(ORVEX_BUILD_TESTS)
        add_test(NAME format_check
            COMMAND ${ORVEX_FORMAT_RUN} -DMODE=check -P ${CMAKE_SOURCE_DIR}/cmake/RunClangFormat.cmake)
    endif()
endif()

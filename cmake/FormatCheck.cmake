# `format-check` fails when a C++ source differs from what clang-format would write;
# `format` rewrites them in place.
find_program(CLANG_FORMAT_EXE NAMES clang-format-14 clang-format)
file(GLOB_RECURSE ORVEX_FORMAT_SOURCES CONFIGURE_DEPENDS
    ${CMAKE_SOURCE_DIR}/src/*.cpp ${CMAKE_SOURCE_DIR}/src/*.h
    ${CMAKE_SOURCE_DIR}/tests/*.cpp ${CMAKE_SOURCE_DIR}/tests/*.h
    ${CMAKE_SOURCE_DIR}/bench/*.cpp ${CMAKE_SOURCE_DIR}/tools/*.cpp)
if(CLANG_FORMAT_EXE)
    add_custom_target(format-check
        COMMAND ${CLANG_FORMAT_EXE} --dry-run --Werror ${ORVEX_FORMAT_SOURCES}
        WORKING_DIRECTORY ${CMAKE_SOURCE_DIR}
        COMMENT "Checking C++ formatting")
    add_custom_target(format
        COMMAND ${CLANG_FORMAT_EXE} -i ${ORVEX_FORMAT_SOURCES}
        WORKING_DIRECTORY ${CMAKE_SOURCE_DIR}
        COMMENT "Formatting C++ sources")
    if(ORVEX_BUILD_TESTS)
        add_test(NAME format_check
            COMMAND ${CLANG_FORMAT_EXE} --dry-run --Werror ${ORVEX_FORMAT_SOURCES}
            WORKING_DIRECTORY ${CMAKE_SOURCE_DIR})
    endif()
endif()

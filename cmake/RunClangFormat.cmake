# Runs clang-format over every C++ source of the tree: MODE=check fails on a difference, MODE=fix
# rewrites. Run as a script: cmake -DCLANG_FORMAT=<exe> -DSOURCE_ROOT=<top> -DMODE=check -P ...
file(GLOB_RECURSE sources
    ${SOURCE_ROOT}/src/*.cpp ${SOURCE_ROOT}/src/*.h
    ${SOURCE_ROOT}/tests/*.cpp ${SOURCE_ROOT}/tests/*.h
    ${SOURCE_ROOT}/bench/*.cpp ${SOURCE_ROOT}/bench/*.h
    ${SOURCE_ROOT}/tools/*.cpp ${SOURCE_ROOT}/tools/*.h)
if(MODE STREQUAL "fix")
    set(arguments -i)
else()
    set(arguments --dry-run --Werror)
endif()
execute_process(COMMAND ${CLANG_FORMAT} ${arguments} ${sources} WORKING_DIRECTORY ${SOURCE_ROOT}
    RESULT_VARIABLE result)
if(NOT result EQUAL 0)
    message(FATAL_ERROR "clang-format found sources that differ from the project's style")
endif()

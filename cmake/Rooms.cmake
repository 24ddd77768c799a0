# One folder under src/ is one room: a static library that links only downwards.

add_library(tarnwick_options INTERFACE)
target_compile_options(tarnwick_options INTERFACE -Wall -Wextra -Wshadow -Wconversion)
target_compile_definitions(tarnwick_options INTERFACE QT_NO_CAST_FROM_ASCII QT_NO_CAST_TO_ASCII QT_NO_KEYWORDS
                                                      _FILE_OFFSET_BITS=64)
target_include_directories(tarnwick_options INTERFACE "${CMAKE_SOURCE_DIR}/src" "${CMAKE_BINARY_DIR}/generated")
target_link_libraries(tarnwick_options INTERFACE Threads::Threads)
if(TARNWICK_WERROR)
    target_compile_options(tarnwick_options INTERFACE -Werror)
endif()
if(TARNWICK_SANITIZE)
    target_compile_options(tarnwick_options INTERFACE "-fsanitize=${TARNWICK_SANITIZE}" -fno-sanitize-recover=undefined
                                                      -fno-omit-frame-pointer
                           # The sanitizers' own code makes this warning cry wolf inside the standard library.
                           -Wno-maybe-uninitialized)
    target_link_options(tarnwick_options INTERFACE "-fsanitize=${TARNWICK_SANITIZE}")
endif()

# tarnwick_headers(NAME HEADER lib...): makes the target NAME, whose precompiled HEADER others take over.
function(tarnwick_headers name header)
    file(GENERATE OUTPUT "${CMAKE_CURRENT_BINARY_DIR}/${name}.cpp" CONTENT "")
    add_library(${name} OBJECT "${CMAKE_CURRENT_BINARY_DIR}/${name}.cpp")
    target_link_libraries(${name} PRIVATE tarnwick_options Qt6::Core ${ARGN})
    target_precompile_headers(${name} PRIVATE "${CMAKE_SOURCE_DIR}/cmake/${header}")
endfunction()

tarnwick_headers(tarnwick_room_headers Headers.h)

# tarnwick_room(NAME LINKS lib...): makes the library tarnwick_NAME from the .cpp files of the current folder.
function(tarnwick_room name)
    cmake_parse_arguments(ARG "" "" "LINKS" ${ARGN})
    file(GLOB sources CONFIGURE_DEPENDS "${CMAKE_CURRENT_SOURCE_DIR}/*.cpp")
    add_library(tarnwick_${name} STATIC ${sources})
    # In an existing build folder AUTOMOC overlooks a new header; without its time stamp it looks again.
    file(REMOVE "${CMAKE_CURRENT_BINARY_DIR}/tarnwick_${name}_autogen/timestamp")
    target_link_libraries(tarnwick_${name} PUBLIC tarnwick_options Qt6::Core ${ARG_LINKS})
    target_precompile_headers(tarnwick_${name} REUSE_FROM tarnwick_room_headers)
endfunction()

# tarnwick_tests(ROOM LINKS lib...): makes the test program test_ROOM from the .cpp files of the current folder, or from
# those that TARNWICK_TEST_SOURCES matches.
function(tarnwick_tests room)
    cmake_parse_arguments(ARG "" "" "LINKS" ${ARGN})
    file(GLOB sources CONFIGURE_DEPENDS "${CMAKE_CURRENT_SOURCE_DIR}/*.cpp")
    list(FILTER sources INCLUDE REGEX "${TARNWICK_TEST_SOURCES}")
    add_executable(test_${room} ${sources})
    target_link_libraries(test_${room} PRIVATE tarnwick_options ${ARG_LINKS} tarnwick_test_support GTest::gtest_main)
    target_precompile_headers(test_${room} REUSE_FROM tarnwick_test_headers)
    gtest_discover_tests(test_${room} NO_PRETTY_VALUES DISCOVERY_TIMEOUT 60
                        PROPERTIES TIMEOUT 300 SKIP_REGULAR_EXPRESSION "\\[  SKIPPED \\]")
endfunction()

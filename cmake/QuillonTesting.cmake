# quillon_add_test(<name> SOURCES <files...> [LIBS <libs...>] [QT] [BUS])
#
# One GoogleTest executable; each test case becomes its own CTest test, discovered when CTest
# runs (so a test that needs a display is listed under the display that CTest runs with).
#   QT   uses a main() that creates the QApplication; the shell libraries it tests come in LIBS.
#   BUS  runs every test case on a private D-Bus session bus of its own (dbus-run-session).
#   OWN_DISPLAY  runs every test case on a virtual display of its own (scripts/with-display.sh).
# Every test case runs with HOME, the XDG folders and TMPDIR of its own, in a temporary folder
# removed afterwards (tests/support/with-own-folders.sh): no test writes into the user's files.
# The wrappers must be set before the tests are discovered: discovery reads them once.
include(GoogleTest)

function(quillon_add_test name)
    cmake_parse_arguments(ARG "QT;BUS;OWN_DISPLAY" "" "SOURCES;LIBS" ${ARGN})
    add_executable(${name} ${ARG_SOURCES})
    target_link_libraries(${name} PRIVATE quillon_test_support quillon_warnings GTest::gmock
                                          ${ARG_LIBS})
    if(ARG_QT)
        target_link_libraries(${name} PRIVATE quillon_qt_test_main Qt6::Test)
    else()
        target_link_libraries(${name} PRIVATE GTest::gtest_main)
    endif()
    set(wrappers "${PROJECT_SOURCE_DIR}/tests/support/with-own-folders.sh")
    if(ARG_OWN_DISPLAY)
        list(APPEND wrappers "${PROJECT_SOURCE_DIR}/scripts/with-display.sh")
    endif()
    if(ARG_BUS)
        list(APPEND wrappers dbus-run-session "--config-file=${QUILLON_TEST_BUS_CONFIG}" --)
    endif()
    set_target_properties(${name} PROPERTIES CROSSCOMPILING_EMULATOR "${wrappers}")
    gtest_discover_tests(${name}
        DISCOVERY_MODE PRE_TEST
        DISCOVERY_TIMEOUT 60
        PROPERTIES TIMEOUT 120 LABELS "${name}")
endfunction()

# End-to-end tests of the probe and uiremote-launch: programs that never link the library,
# started through the launcher or a bare LD_PRELOAD and driven with the Python client. Each
# build tests its own launcher, probe and programs.
if(NOT TARGET uiremote-launch OR NOT TARGET example-inventory)
  return()
endif()

# Programs the probe meets in the wild (see tests/probe/probe_target.cpp).
add_executable(probe-target probe/probe_target.cpp)
target_link_libraries(probe-target PRIVATE Qt::Gui Qt::Qml Qt::Quick)

# A program built with an older Qt of this build's major: a stand-in core library that only tells
# its version, in a folder of its own so that nothing else in the build tree loads it.
if(UIREMOTE_QT_MAJOR STREQUAL "6")
  set(probe_old_qt_version 6.1.0)
  set(probe_other_major 5)
else()
  set(probe_old_qt_version 5.9.0)
  set(probe_other_major 6)
endif()
add_library(probe-fake-qtcore SHARED probe/fake_qtcore.cpp)
target_compile_definitions(probe-fake-qtcore PRIVATE UIRC_FAKE_QT_VERSION="${probe_old_qt_version}")
set_target_properties(probe-fake-qtcore PROPERTIES OUTPUT_NAME Qt${UIREMOTE_QT_MAJOR}Core
  SOVERSION ${UIREMOTE_QT_MAJOR} LIBRARY_OUTPUT_DIRECTORY ${CMAKE_CURRENT_BINARY_DIR}/fake-qt)
add_executable(probe-old-qt-program probe/old_qt_program.cpp)
target_link_libraries(probe-old-qt-program PRIVATE probe-fake-qtcore)

# The same program linked against the real core library of the other Qt major, when this machine
# has its development files: the probe leaves it alone.
find_library(UIRC_OTHER_QT_CORE NAMES Qt${probe_other_major}Core
  DOC "Core library of the other Qt major, for the probe's test of a program it leaves alone")
set(probe_other_qt_env "")
if(UIRC_OTHER_QT_CORE)
  add_executable(probe-other-qt-program probe/old_qt_program.cpp)
  target_link_libraries(probe-other-qt-program PRIVATE ${UIRC_OTHER_QT_CORE})
  set(probe_other_qt_env "UIREMOTE_OTHER_QT_PROGRAM=$<TARGET_FILE:probe-other-qt-program>")
endif()

# A program that loads a library by its bare name along its own RUNPATH: the probe's dlopen must
# leave the loader seeing the program as the caller.
add_library(probe-runpath-lib SHARED probe/runpath_lib.cpp)
set_target_properties(probe-runpath-lib PROPERTIES LIBRARY_OUTPUT_DIRECTORY ${CMAKE_CURRENT_BINARY_DIR}/runpath-lib)
add_executable(probe-runpath-program probe/runpath_program.cpp)
target_link_libraries(probe-runpath-program PRIVATE ${CMAKE_DL_LIBS})
target_link_options(probe-runpath-program PRIVATE -Wl,--enable-new-dtags)
set_target_properties(probe-runpath-program PROPERTIES BUILD_RPATH ${CMAKE_CURRENT_BINARY_DIR}/runpath-lib)
add_dependencies(probe-runpath-program probe-runpath-lib)

set(UIRC_PYTHON "/usr/bin/python3" CACHE FILEPATH "Python interpreter for the Python client tests")
set(probe_env
  "PYTHONPATH=${PROJECT_SOURCE_DIR}/clients/python"
  "PYTHONDONTWRITEBYTECODE=1"
  "UIREMOTE_QT_MAJOR=${UIREMOTE_QT_MAJOR}"
  "UIREMOTE_PROBE_QT_VERSION=${Qt${UIREMOTE_QT_MAJOR}Core_VERSION}"
  "UIREMOTE_LAUNCH=$<TARGET_FILE:uiremote-launch>"
  "UIREMOTE_PROBE=$<TARGET_FILE:UIRemoteProbe>"
  "UIREMOTE_INVENTORY=$<TARGET_FILE:example-inventory>"
  "UIREMOTE_PROBE_TARGET=$<TARGET_FILE:probe-target>"
  "UIREMOTE_OLD_QT_PROGRAM=$<TARGET_FILE:probe-old-qt-program>"
  "UIREMOTE_OLD_QT_VERSION=${probe_old_qt_version}"
  "UIREMOTE_RUNPATH_PROGRAM=$<TARGET_FILE:probe-runpath-program>"
  ${probe_other_qt_env})

# uirc_add_probe_test(<name> <test file> [env...])
function(uirc_add_probe_test name file)
  add_test(NAME ${name}
    COMMAND ${UIRC_PYTHON} -m pytest -q -p no:cacheprovider
            --basetemp=${CMAKE_CURRENT_BINARY_DIR}/${name}.tmp ${CMAKE_CURRENT_SOURCE_DIR}/probe/${file}
    WORKING_DIRECTORY ${CMAKE_CURRENT_SOURCE_DIR}/probe)
  set_tests_properties(${name} PROPERTIES ENVIRONMENT "${probe_env};${ARGN}" TIMEOUT 300)
endfunction()

uirc_add_probe_test(probe_launch test_launch.py)
uirc_add_probe_test(probe_failures test_failures.py)
uirc_add_probe_test(probe_token test_token.py)
uirc_add_probe_test(probe_late_qt test_late_qt.py)
uirc_add_probe_test(probe_python test_python.py)
uirc_add_probe_test(probe_headless test_headless.py)
uirc_add_probe_test(probe_nameless_window test_nameless_window.py)
if(TARGET qt-gallery)
  uirc_add_probe_test(probe_gallery test_gallery.py "UIREMOTE_GALLERY=$<TARGET_FILE:qt-gallery>")
endif()
uirc_add_probe_test(probe_mousearea test_mousearea.py)

# End-to-end tests of the Python client (clients/python): pytest drives uiremote-host over TCP.
# Included by tests/CMakeLists.txt. Needs Debian's /usr/bin/python3 with python3-pytest.
if(TARGET uiremote-host)
  set(UIRC_PYTHON "/usr/bin/python3" CACHE FILEPATH "Python interpreter for the Python client tests")
  add_test(NAME python_e2e
    COMMAND ${UIRC_PYTHON} -m pytest -q -p no:cacheprovider
            --basetemp=${CMAKE_CURRENT_BINARY_DIR}/python_e2e.tmp
            ${PROJECT_SOURCE_DIR}/clients/python/tests
    WORKING_DIRECTORY ${PROJECT_SOURCE_DIR}/clients/python)
  # Compiled programs run through the launcher (tests/test_gallery_program.py and the plugin's
  # program fixtures), and the log library whose trace failing tests leave.
  set(python_e2e_programs "")
  if(TARGET uiremote-launch)
    list(APPEND python_e2e_programs "UIREMOTE_LAUNCH=$<TARGET_FILE:uiremote-launch>")
    if(TARGET probe-target) # from tests/probe.cmake, included before this file
      list(APPEND python_e2e_programs "UIREMOTE_PROBE_TARGET=$<TARGET_FILE:probe-target>")
    endif()
  endif()
  if(TARGET qt-gallery)
    list(APPEND python_e2e_programs "UIREMOTE_QT_GALLERY=$<TARGET_FILE:qt-gallery>")
  endif()
  if(TARGET QmdxLogUtl)
    list(APPEND python_e2e_programs "UIREMOTE_LOG_LIBRARY=$<TARGET_FILE:QmdxLogUtl>")
  endif()
  set_tests_properties(python_e2e PROPERTIES
    ENVIRONMENT "PYTHONPATH=${PROJECT_SOURCE_DIR}/clients/python;UIREMOTE_HOST=$<TARGET_FILE:uiremote-host>;QT_QPA_PLATFORM=offscreen;QT_QUICK_BACKEND=software;QT_QUICK_CONTROLS_STYLE=${UIRC_TEST_STYLE};UIREMOTE_QT_MAJOR=${UIREMOTE_QT_MAJOR};PYTHONDONTWRITEBYTECODE=1;${python_e2e_programs}"
    TIMEOUT 600)
endif()

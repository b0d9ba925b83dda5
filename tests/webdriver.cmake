# The WebDriver endpoint (`uiremote webdriver`) driven by real WebDriver clients: Debian's
# python3-selenium (pytest, tests/webdriver/test_selenium.py) and WebdriverIO (node --test,
# tests/webdriver/wdio.test.mjs, installed into the build tree by scripts/npm-packages.sh),
# both against Qt's Controls 2 gallery launched headless for each session. Included by
# tests/CMakeLists.txt. The gallery is a Qt 5 program; the Qt 6 build drives a program of our own
# instead (webdriver_qt6: examples/inventory under the Qt 6 launcher, with Selenium).
set(UIRC_PYTHON "/usr/bin/python3" CACHE FILEPATH "Python interpreter for the Python client tests")
if(UIREMOTE_QT_MAJOR STREQUAL "6" AND TARGET uiremote-launch AND TARGET example-inventory)
  add_test(NAME webdriver_qt6
    COMMAND ${UIRC_PYTHON} -m pytest -q -p no:cacheprovider --basetemp=${CMAKE_CURRENT_BINARY_DIR}/webdriver_qt6.tmp
            ${CMAKE_CURRENT_SOURCE_DIR}/webdriver/test_qt6_program.py
    WORKING_DIRECTORY ${CMAKE_CURRENT_SOURCE_DIR}/webdriver)
  set_tests_properties(webdriver_qt6 PROPERTIES TIMEOUT 300 ENVIRONMENT
    "PYTHONPATH=${PROJECT_SOURCE_DIR}/clients/python;PYTHONDONTWRITEBYTECODE=1;UIREMOTE_LAUNCH_QT6=$<TARGET_FILE:uiremote-launch>;UIREMOTE_QT6_PROGRAM=$<TARGET_FILE:example-inventory>")
endif()
if(NOT TARGET uiremote-launch OR NOT TARGET qt-gallery)
  return()
endif()
set(UIRC_WEBDRIVER_DIR ${CMAKE_CURRENT_BINARY_DIR}/webdriver)
foreach(file package.json package-lock.json wdio.test.mjs)
  configure_file(${CMAKE_CURRENT_SOURCE_DIR}/webdriver/${file} ${UIRC_WEBDRIVER_DIR}/${file} COPYONLY)
endforeach()
set(webdriver_env
  "PYTHONPATH=${PROJECT_SOURCE_DIR}/clients/python"
  "PYTHONDONTWRITEBYTECODE=1"
  "UIREMOTE_CLIENT_DIR=${PROJECT_SOURCE_DIR}/clients/python"
  "UIREMOTE_WEBDRIVER_PYTHON=${UIRC_PYTHON}"
  "UIREMOTE_LAUNCH=$<TARGET_FILE:uiremote-launch>"
  "UIREMOTE_GALLERY=$<TARGET_FILE:qt-gallery>")

add_test(NAME webdriver_clients_setup COMMAND sh ${PROJECT_SOURCE_DIR}/scripts/npm-packages.sh ${UIRC_WEBDRIVER_DIR})
set_tests_properties(webdriver_clients_setup PROPERTIES FIXTURES_SETUP webdriver_clients TIMEOUT 900)

add_test(NAME webdriver_selenium
  COMMAND ${UIRC_PYTHON} -m pytest -q -p no:cacheprovider --basetemp=${CMAKE_CURRENT_BINARY_DIR}/webdriver_selenium.tmp
          ${CMAKE_CURRENT_SOURCE_DIR}/webdriver/test_selenium.py
  WORKING_DIRECTORY ${CMAKE_CURRENT_SOURCE_DIR}/webdriver)
set_tests_properties(webdriver_selenium PROPERTIES FIXTURES_REQUIRED webdriver_clients
  ENVIRONMENT "${webdriver_env}" TIMEOUT 300)

add_test(NAME webdriver_wdio COMMAND node --test ${UIRC_WEBDRIVER_DIR}/wdio.test.mjs)
set_tests_properties(webdriver_wdio PROPERTIES FIXTURES_REQUIRED webdriver_clients
  ENVIRONMENT "${webdriver_env}" TIMEOUT 300)

# Soak and bad-input tests (tests/robustness): pytest drives a real uiremote-host over raw TCP.
# Included by tests/CMakeLists.txt. Needs Debian's /usr/bin/python3 with python3-pytest.
#   robustness_inputs  one named test per bad input, each with its exact reply sequence
#   robustness_soak    20 concurrent clients x 500 mixed messages
#   robustness_faults  faults a test or a client can provoke: deleted root, unread replies,
#                      no descriptors left, many idle connections
if(TARGET uiremote-host)
  set(UIRC_PYTHON "/usr/bin/python3" CACHE FILEPATH "Python interpreter for the Python client tests")
  set(robustness_env
    "PYTHONPATH=${PROJECT_SOURCE_DIR}/clients/python"
    "UIREMOTE_HOST=$<TARGET_FILE:uiremote-host>"
    "QT_QPA_PLATFORM=offscreen"
    "QT_QUICK_BACKEND=software"
    "QT_QUICK_CONTROLS_STYLE=${UIRC_TEST_STYLE}"
    "PYTHONDONTWRITEBYTECODE=1"
    # These suites pin the replies of the twenty controls byte for byte: extension mode off.
    "UIREMOTE_EXTENSIONS=0")
  foreach(part inputs soak faults)
    add_test(NAME robustness_${part}
      COMMAND ${UIRC_PYTHON} -m pytest -q -rA -p no:cacheprovider
              --basetemp=${CMAKE_CURRENT_BINARY_DIR}/robustness_${part}.tmp
              ${CMAKE_CURRENT_SOURCE_DIR}/robustness/test_${part}.py
      WORKING_DIRECTORY ${CMAKE_CURRENT_SOURCE_DIR}/robustness)
    set_tests_properties(robustness_${part} PROPERTIES ENVIRONMENT "${robustness_env}" TIMEOUT 300)
  endforeach()
endif()

# The replay check (tests/replay): the recorded requests of the demo application and of
# uiremote-host on the benchmark and test scenes, sent again to the current build, whose reply
# bytes (and trace lines, where the log library is loaded) must equal the recorded ones.
# Included by tests/CMakeLists.txt. Needs Debian's /usr/bin/python3 (standard library only).
if(TARGET uiremote-host AND TARGET demo-app AND TARGET QmdxLogUtl)
  set(UIRC_PYTHON "/usr/bin/python3" CACHE FILEPATH "Python interpreter for the Python client tests")
  if(EXISTS ${CMAKE_CURRENT_SOURCE_DIR}/replay/tables/qt${UIREMOTE_QT_MAJOR})
    add_test(NAME replay_replies
      COMMAND ${UIRC_PYTHON} ${CMAKE_CURRENT_SOURCE_DIR}/replay/replay.py ${PROJECT_BINARY_DIR})
    set_tests_properties(replay_replies PROPERTIES ENVIRONMENT "PYTHONDONTWRITEBYTECODE=1" TIMEOUT 180)
  endif()
endif()

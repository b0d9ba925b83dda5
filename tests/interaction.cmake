# Typing, gestures, actionability, signal spies and waits (extension words), against real QML
# scenes over loopback TCP.
foreach(suite tst_typing tst_gestures tst_actionability tst_spies_waits tst_scrolling)
  uirc_add_test(${suite} SOURCES ${CMAKE_CURRENT_LIST_DIR}/interaction/${suite}.cpp)
  target_include_directories(${suite} PRIVATE ${CMAKE_CURRENT_LIST_DIR}/interaction)
endforeach()
# Each gesture runs 20 times, and each run waits for the scene to settle.
set_tests_properties(tst_gestures PROPERTIES TIMEOUT 600)

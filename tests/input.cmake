# Pointer actions, the keyboard action and the signal wait, driven in-process and over TCP
# against real QML scenes.
uirc_add_test(tst_input_pointer SOURCES ${CMAKE_CURRENT_LIST_DIR}/tst_input_pointer.cpp)
uirc_add_test(tst_input_keyboard SOURCES ${CMAKE_CURRENT_LIST_DIR}/tst_input_keyboard.cpp)
uirc_add_test(tst_input_waitsignal SOURCES ${CMAKE_CURRENT_LIST_DIR}/tst_input_waitsignal.cpp)

# The side-by-side comparison once more with a default mouse delay, which the Qt Test library
# waits for and adds to its event time stamps.
add_test(NAME tst_input_pointer_mousedelay COMMAND tst_input_pointer pointerEventsMatchQtTest)
set_tests_properties(tst_input_pointer_mousedelay PROPERTIES
  ENVIRONMENT "${UIRC_TEST_ENV};QTEST_MOUSEEVENT_DELAY=3" TIMEOUT 180)

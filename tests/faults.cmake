# Faults a test or a client can provoke (tests/tst_faults.cpp): items and windows destroyed by an
# action's own events, deeply nested values, clients that do not read, URL properties.
uirc_add_test(tst_faults SOURCES ${CMAKE_CURRENT_LIST_DIR}/tst_faults.cpp)
target_include_directories(tst_faults PRIVATE ${CMAKE_CURRENT_LIST_DIR}/interaction)

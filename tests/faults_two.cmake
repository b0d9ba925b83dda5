# More faults a client can provoke (tests/tst_faults_two.cpp): scripted methods without a caller's
# QML context, spies (destroyed arguments, unspy, owner connections, bounded emissions), escaped
# quotes, coordinates beyond any screen.
uirc_add_test(tst_faults_two SOURCES ${CMAKE_CURRENT_LIST_DIR}/tst_faults_two.cpp)
target_include_directories(tst_faults_two PRIVATE ${CMAKE_CURRENT_LIST_DIR}/interaction)

# The layers of src/ keep their rules (README "How the code is laid out"), and no source file
# passes 400 lines. Included by tests/CMakeLists.txt.
add_test(NAME layout COMMAND /usr/bin/python3 ${CMAKE_CURRENT_LIST_DIR}/layout/check_layout.py ${PROJECT_SOURCE_DIR})
set_tests_properties(layout PROPERTIES TIMEOUT 60)

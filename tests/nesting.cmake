# Lookups in nested repeaters (tests/tst_nesting.cpp): visit counts bounded per object.
uirc_add_test(tst_nesting SOURCES ${CMAKE_CURRENT_LIST_DIR}/tst_nesting.cpp)

# The method sweep (tests/tst_method_sweep.cpp): every invokable method of common Qt Quick,
# Controls and QML types called through invoke, invokeret and getpro's method. Short form here
# (about a minute at most); scripts/fuzz.sh long runs it again with UIRC_SWEEP=long.
uirc_add_test(tst_method_sweep SOURCES ${CMAKE_CURRENT_LIST_DIR}/tst_method_sweep.cpp)
set_tests_properties(tst_method_sweep PROPERTIES TIMEOUT 120)

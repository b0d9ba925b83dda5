# The method sweep (tests/tst_method_sweep.cpp): every invokable method of common Qt Quick,
# Controls and QML types called through invoke, invokeret and getpro's method. Short form here
# (about a minute at most); scripts/fuzz.sh long runs it again with UIRC_SWEEP=long.
uirc_add_test(tst_method_sweep SOURCES ${CMAKE_CURRENT_LIST_DIR}/tst_method_sweep.cpp)
set_tests_properties(tst_method_sweep PROPERTIES TIMEOUT 120)
# Qt is built without frame pointers: only the slow unwinder names the Qt frames that
# tests/sanitize/lsan.supp matches for this suite (no effect outside the sanitizer build).
set_tests_properties(tst_method_sweep PROPERTIES ENVIRONMENT_MODIFICATION "ASAN_OPTIONS=string_append::fast_unwind_on_malloc=0")

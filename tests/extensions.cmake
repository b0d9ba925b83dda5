# Extension mode: selectors, reasons in false replies, the live tree, "find", screenshots,
# attached and dotted properties, typed methods.
uirc_add_test(tst_selectors SOURCES
  ${CMAKE_CURRENT_LIST_DIR}/tst_selectors.cpp
  ${CMAKE_CURRENT_LIST_DIR}/extension_fixture.h)
uirc_add_test(tst_live_tree SOURCES
  ${CMAKE_CURRENT_LIST_DIR}/tst_live_tree.cpp
  ${CMAKE_CURRENT_LIST_DIR}/extension_fixture.h)
uirc_add_test(tst_handles_scripts SOURCES
  ${CMAKE_CURRENT_LIST_DIR}/tst_handles_scripts.cpp
  ${CMAKE_CURRENT_LIST_DIR}/extension_fixture.h)

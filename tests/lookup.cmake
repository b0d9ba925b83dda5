# Object location, property access, method invocation and window names.
uirc_add_test(tst_lookup SOURCES
  ${CMAKE_CURRENT_LIST_DIR}/tst_lookup.cpp
  ${CMAKE_CURRENT_LIST_DIR}/lookup_fixture.h)
uirc_add_test(tst_properties SOURCES
  ${CMAKE_CURRENT_LIST_DIR}/tst_properties.cpp
  ${CMAKE_CURRENT_LIST_DIR}/lookup_fixture.h)
uirc_add_test(tst_scene_tree SOURCES ${CMAKE_CURRENT_LIST_DIR}/tst_scene_tree.cpp NO_RECORDER)
uirc_add_test(tst_id_names SOURCES ${CMAKE_CURRENT_LIST_DIR}/tst_id_names.cpp NO_RECORDER)

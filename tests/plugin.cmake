# Plugin shell, host tree models and host plugin bridge. The tests drive the library the way the
# host framework does: loaded by path as a Qt plugin, initialised with a real QML context, and
# called through its invokables by name.

add_library(uirc_plugin_testhost STATIC
  testhost/HostPlugins.h
  testhost/HostPlugins.cpp
  testhost/PluginHost.h
  testhost/PluginHost.cpp
)
set_target_properties(uirc_plugin_testhost PROPERTIES AUTOMOC ON)
target_include_directories(uirc_plugin_testhost PUBLIC ${CMAKE_CURRENT_SOURCE_DIR}/testhost)
target_link_libraries(uirc_plugin_testhost PUBLIC uirc_test_support)
target_compile_definitions(uirc_plugin_testhost PUBLIC UIRC_LIBRARY_PATH="$<TARGET_FILE:UIRemoteControl>")

uirc_add_test(tst_plugin_entry SOURCES tst_plugin_entry.cpp LIBS uirc_plugin_testhost)
uirc_add_test(tst_plugin_models SOURCES tst_plugin_models.cpp LIBS uirc_plugin_testhost)
uirc_add_test(tst_plugin_bridge SOURCES tst_plugin_bridge.cpp LIBS uirc_plugin_testhost)

# The installed package: install into a scratch prefix, then build the embedding example on its
# own against it with find_package(UIRemoteControl).
add_test(NAME package_config
  COMMAND ${CMAKE_COMMAND} -DBUILD_DIR=${PROJECT_BINARY_DIR} -DSOURCE_DIR=${PROJECT_SOURCE_DIR}
          -DQT_MAJOR=${UIREMOTE_QT_MAJOR}
          -P ${CMAKE_CURRENT_SOURCE_DIR}/package/package_test.cmake)
set_tests_properties(package_config PROPERTIES TIMEOUT 600)

# End-to-end tests of the agent tool server (`uiremote mcp`) through the official MCP TypeScript
# SDK client, on Node.js. mcp_sdk_setup installs the SDK pinned in tests/mcp/package-lock.json
# into the build tree (and Debian's nodejs/npm when missing); mcp_e2e then runs the suite
# against uiremote-host. Included by tests/CMakeLists.txt.
if(TARGET uiremote-host)
  set(UIRC_MCP_DIR ${CMAKE_CURRENT_BINARY_DIR}/mcp)
  foreach(file package.json package-lock.json harness.mjs e2e.test.mjs)
    configure_file(${CMAKE_CURRENT_SOURCE_DIR}/mcp/${file} ${UIRC_MCP_DIR}/${file} COPYONLY)
  endforeach()
  add_test(NAME mcp_sdk_setup COMMAND sh ${PROJECT_SOURCE_DIR}/scripts/npm-packages.sh ${UIRC_MCP_DIR})
  set_tests_properties(mcp_sdk_setup PROPERTIES FIXTURES_SETUP mcp_sdk TIMEOUT 900)
  add_test(NAME mcp_e2e COMMAND node --test ${UIRC_MCP_DIR}/e2e.test.mjs)
  set_tests_properties(mcp_e2e PROPERTIES
    FIXTURES_REQUIRED mcp_sdk
    ENVIRONMENT "QT_QUICK_CONTROLS_STYLE=${UIRC_TEST_STYLE};UIREMOTE_HOST=$<TARGET_FILE:uiremote-host>;UIREMOTE_SCENE=${PROJECT_SOURCE_DIR}/clients/python/tests/qml/controls.qml;UIREMOTE_CLIENT_DIR=${PROJECT_SOURCE_DIR}/clients/python;UIREMOTE_PYTHON=/usr/bin/python3"
    TIMEOUT 900)
endif()

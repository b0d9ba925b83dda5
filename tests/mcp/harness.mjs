// Helpers of the agent tool server's end-to-end tests: a real uiremote-host on a free loopback
// port, `uiremote mcp` driven by the official MCP SDK client, and a raw line-based session for
// what the SDK client never sends (other protocol versions, broken lines).
import { spawn } from 'node:child_process';
import { once } from 'node:events';
import net from 'node:net';
import readline from 'node:readline';
import { Client } from '@modelcontextprotocol/sdk/client/index.js';
import { StdioClientTransport } from '@modelcontextprotocol/sdk/client/stdio.js';

const env = (name) => {
  const value = process.env[name];
  if (!value) throw new Error(`${name} is not set (the tests run under ctest)`);
  return value;
};

export const HOST_BIN = env('UIREMOTE_HOST');
export const SCENE = env('UIREMOTE_SCENE');
const PYTHON = process.env.UIREMOTE_PYTHON || '/usr/bin/python3';
const CLIENT_DIR = env('UIREMOTE_CLIENT_DIR');
const WAIT_MS = 60000; // generous: the machine is shared and loaded

// Every process started here, so that a failed test leaves none running (see killAll).
const children = new Set();
function track(proc) {
  children.add(proc);
  proc.on('exit', () => children.delete(proc));
  return proc;
}

export function killAll() {
  for (const proc of children) proc.kill('SIGKILL');
}

export async function freePort() {
  const server = net.createServer();
  server.listen(0, '127.0.0.1');
  await once(server, 'listening');
  const { port } = server.address();
  server.close();
  await once(server, 'close');
  return port;
}

function within(promise, what, ms = WAIT_MS) {
  let timer;
  const limit = new Promise((_, reject) => {
    timer = setTimeout(() => reject(new Error(`${what}: nothing after ${ms} ms`)), ms);
  });
  return Promise.race([promise, limit]).finally(() => clearTimeout(timer));
}

// Starts uiremote-host on `port` and resolves once it listens.
export async function startHost(port, extraEnv = {}) {
  const proc = track(spawn(HOST_BIN, ['--port', String(port), SCENE], {
    env: { ...process.env, QT_QPA_PLATFORM: 'offscreen', QT_QUICK_BACKEND: 'software', ...extraEnv },
    stdio: ['ignore', 'pipe', 'pipe'],
  }));
  let output = '';
  proc.stderr.on('data', (d) => { output += d; });
  const exited = once(proc, 'exit');
  const listening = new Promise((resolve, reject) => {
    proc.stdout.on('data', (d) => {
      output += d;
      if (output.includes(`listening on ${port}`)) resolve();
    });
    exited.then(([code]) => reject(new Error(`uiremote-host ended (${code}) before listening:\n${output}`)));
  });
  await within(listening, 'uiremote-host start');
  return {
    port,
    output: () => output,
    async stop() {
      if (proc.exitCode === null && proc.signalCode === null) proc.kill('SIGTERM');
      await within(exited, 'uiremote-host stop');
    },
  };
}

// An SDK client connected to `uiremote mcp --port <port> <args>`; `incoming` records every
// message the server sent (to see the negotiated version and notifications).
export async function connectMcp(port, args = []) {
  const transport = new StdioClientTransport({
    command: PYTHON,
    args: ['-m', 'uiremote', 'mcp', '--port', String(port), ...args],
    env: { PYTHONPATH: CLIENT_DIR, PYTHONDONTWRITEBYTECODE: '1' },
    stderr: 'pipe',
  });
  const incoming = [];
  let handler;
  Object.defineProperty(transport, 'onmessage', {
    get: () => handler,
    set: (fn) => { handler = (message, extra) => { incoming.push(message); fn(message, extra); }; },
  });
  let stderr = '';
  transport.stderr?.on('data', (d) => { stderr += d; });
  const client = new Client({ name: 'uiremote-e2e', version: '1.0.0' });
  await within(client.connect(transport), 'MCP initialize');
  return { client, incoming, stderr: () => stderr };
}

// Calls a tool and returns its result (the SDK validates the result's shape).
export function call(client, name, args) {
  return within(client.callTool({ name, arguments: args }), `tools/call ${name}`);
}

// A text-only successful result: its text.
export function textOf(result) {
  if (result.isError) throw new Error(`tool failed: ${result.content.map((c) => c.text).join(' ')}`);
  return result.content.map((c) => c.text).join('');
}

// A raw session: JSON-RPC lines in, JSON lines out, no SDK in between.
export function rawSession(port) {
  const proc = track(spawn(PYTHON, ['-m', 'uiremote', 'mcp', '--port', String(port)], {
    env: { ...process.env, PYTHONPATH: CLIENT_DIR, PYTHONDONTWRITEBYTECODE: '1' },
    stdio: ['pipe', 'pipe', 'pipe'],
  }));
  const lines = readline.createInterface({ input: proc.stdout })[Symbol.asyncIterator]();
  return {
    send(text) { proc.stdin.write(text.endsWith('\n') ? text : `${text}\n`); },
    async next() {
      const { value, done } = await within(lines.next(), 'raw reply');
      if (done) throw new Error('uiremote mcp closed its output');
      return JSON.parse(value);
    },
    kill() { proc.kill('SIGKILL'); },
    async close() {
      proc.stdin.end();
      const [code] = await within(once(proc, 'exit'), 'uiremote mcp exit');
      return code;
    },
  };
}

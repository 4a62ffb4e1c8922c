// `quillon mcp` driven by the official MCP TypeScript SDK's client, as agents drive it:
//   node mcp_client_test.mjs QUILLON_BINARY running|added|stopped
// "running" expects the test's stand-in for Quillon on the session bus (42 % and 17 %), "added"
// the same with the windows the test services add (Claude's "seven_day_opus_max" at 12 %,
// Codex's "rate_limit.tertiary_window" at 4 %), "stopped" expects none. Every check throws on
// failure, which ends the script with status 1.
import { Client } from '@modelcontextprotocol/sdk/client/index.js';
import { StdioClientTransport } from '@modelcontextprotocol/sdk/client/stdio.js';
import { ErrorCode, LATEST_PROTOCOL_VERSION, McpError } from '@modelcontextprotocol/sdk/types.js';
import { z } from 'zod';
import Ajv from 'ajv';
import assert from 'node:assert/strict';
import { spawn } from 'node:child_process';
import { createInterface } from 'node:readline';

const [binary, mode] = process.argv.slice(2);
assert.ok(binary && ['running', 'added', 'stopped'].includes(mode),
          'usage: QUILLON_BINARY running|added|stopped');

async function connect() {
    const client = new Client({ name: 'quillon-tests', version: '1.0.0' });
    const transport = new StdioClientTransport({ command: binary, args: ['mcp'], env: process.env,
                                                 stderr: 'inherit' });
    await client.connect(transport);
    return client;
}

async function rejectsWith(promise, code) {
    await assert.rejects(promise, (error) => {
        assert.ok(error instanceof McpError, `an MCP error, not ${error}`);
        assert.equal(error.code, code);
        return true;
    });
}

// Lines sent as they stand, for what the SDK would never send.
async function rawExchange(lines) {
    const child = spawn(binary, ['mcp'], { stdio: ['pipe', 'pipe', 'inherit'] });
    const replies = [];
    const reader = createInterface({ input: child.stdout });
    reader.on('line', (line) => replies.push(JSON.parse(line)));
    child.stdin.end(lines.join('\n') + '\n');
    const status = await new Promise((resolve) => child.on('close', resolve));
    assert.equal(status, 0);
    return replies;
}

const client = await connect();
assert.equal(client.getServerVersion().name, 'quillon');
assert.ok(client.getServerCapabilities().tools, 'the server offers tools');
await client.ping();

const { tools } = await client.listTools();
assert.deepEqual(tools.map((tool) => tool.name).sort(), ['get_usage', 'refresh_usage']);
const ajv = new Ajv({ strict: false });
const validators = Object.fromEntries(tools.map((tool) => {
    assert.equal(tool.inputSchema.type, 'object');
    assert.equal(tool.outputSchema.type, 'object');
    return [tool.name, ajv.compile(tool.outputSchema)];
}));

function checkStructured(name, result) {
    assert.notEqual(result.isError, true, JSON.stringify(result.content));
    assert.equal(result.content[0].type, 'text');
    assert.ok(validators[name](result.structuredContent), JSON.stringify(validators[name].errors));
    return result.structuredContent;
}

if (mode === 'added') {
    // The SDK checks the structured content against the declared schema itself, and so does
    // checkStructured.
    for (const name of ['get_usage', 'refresh_usage']) {
        const result = await client.callTool({ name });
        const usage = checkStructured(name, result);
        assert.equal(usage.claude.extra.seven_day_opus_max.percent, 12);
        assert.match(usage.claude.extra.seven_day_opus_max.resetsAt, /^\d{4}-\d\d-\d\dT/);
        assert.deepEqual(usage.codex.extra, {
            'rate_limit.tertiary_window': { percent: 4, resetsAt: null, resetLabel: '' } });
        assert.match(result.content[0].text, /\n {2}Seven day opus max 12%/);
        assert.match(result.content[0].text, /\n {2}Rate limit tertiary window 4%\n/);
        // The named windows are as they are without the added ones.
        assert.equal(usage.claude.fiveHour.percent, 42);
        assert.equal(usage.claude.weekly.percent, 7);
        assert.equal(usage.claude.sonnet, null);
        assert.equal(usage.codex.weekly.percent, 60);
    }
} else if (mode === 'running') {
    const usage = checkStructured('get_usage', await client.callTool({ name: 'get_usage' }));
    assert.equal(usage.claude.extra, undefined);
    assert.equal(usage.source, 'quillon');
    assert.equal(usage.claude.fiveHour.percent, 42);
    assert.equal(usage.codex.fiveHour.percent, 17);
    assert.equal(usage.claude.plan, 'max');
    assert.match(usage.claude.fiveHour.resetsAt, /^\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d/);
    assert.equal(typeof usage.claude.fiveHour.pace.projectedPercent, 'number');
    const refreshed = checkStructured('refresh_usage',
                                      await client.callTool({ name: 'refresh_usage' }));
    assert.equal(refreshed.source, 'quillon');
    assert.equal(refreshed.claude.fiveHour.percent, 42);
} else {
    const usage = await client.callTool({ name: 'get_usage' });
    assert.equal(usage.isError, true);
    assert.match(usage.content[0].text, /not running/);
    const fetched = checkStructured('refresh_usage',
                                    await client.callTool({ name: 'refresh_usage', arguments: {} }));
    assert.equal(fetched.source, 'fetched');
    assert.equal(fetched.claude.connected, false);
}

// The error cases, as the SDK reports them.
await rejectsWith(client.callTool({ name: 'no_such_tool' }), ErrorCode.InvalidParams);
await rejectsWith(client.callTool({ name: 'get_usage', arguments: { provider: 'claude' } }),
                  ErrorCode.InvalidParams);
await rejectsWith(client.request({ method: 'resources/list' }, z.object({}).passthrough()),
                  ErrorCode.MethodNotFound);
await client.notification({ method: 'notifications/cancelled',
                            params: { requestId: 1, reason: 'a test' } });
await client.ping();
await client.close();

// Each revision current clients ask for is agreed on; an unknown one gets the newest.
for (const version of ['2024-11-05', '2025-03-26', '2025-06-18', LATEST_PROTOCOL_VERSION,
                       '1999-01-01']) {
    const [reply] = await rawExchange([JSON.stringify({
        jsonrpc: '2.0', id: 1, method: 'initialize',
        params: { protocolVersion: version, capabilities: {},
                  clientInfo: { name: 'raw', version: '1' } } })]);
    const expected = version === '1999-01-01' ? LATEST_PROTOCOL_VERSION : version;
    assert.equal(reply.result.protocolVersion, expected);
}
const replies = await rawExchange(['{"jsonrpc":"2.0","id":1,"method"', '[]', '7',
                                   '{"jsonrpc":"2.0","id":2,"method":"ping"}']);
assert.deepEqual(replies.map((reply) => reply.error?.code ?? 'ok'),
                 [ErrorCode.ParseError, ErrorCode.InvalidRequest, ErrorCode.InvalidRequest, 'ok']);
console.log(`quillon mcp: every check held (${mode})`);

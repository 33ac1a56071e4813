// The background as the browser starts it: again and again, by events that
// arrive before it has read the list of sites.

import assert from "node:assert/strict";
import { test } from "node:test";
import { setImmediate } from "node:timers/promises";

import { Listeners, Port } from "./port.mjs";

const ORIGIN = "https://a.example";

let starts = 0;
let session = {}; // what is stored until the browser ends

// Starts the background in a browser that has registered `scripts`. Its list of
// sites comes when `read` is called.
async function start(scripts = []) {
    const hosts = [];
    const changes = []; // of what is registered
    const change = (name) => async (list) => {
        changes.push([name, list]);
    };
    let read;
    const sites = new Promise((resolve) => {
        read = () => {
            resolve({ sites: [{ origin: ORIGIN, ports: [32153] }] });
            return setImmediate(); // and what follows
        };
    });
    globalThis.chrome = {
        permissions: {
            contains: async () => true,
            onAdded: new Listeners(),
            onRemoved: new Listeners(),
        },
        runtime: {
            id: "us",
            getURL: (name) => `extension:${name}`,
            onConnect: new Listeners(),
            onMessage: new Listeners(),
            connectNative() {
                hosts.push(new Port());
                return hosts.at(-1);
            },
        },
        scripting: {
            getRegisteredContentScripts: async () => scripts,
            registerContentScripts: change("register"),
            unregisterContentScripts: change("unregister"),
            updateContentScripts: change("update"),
        },
        storage: {
            local: { get: () => sites, set: async () => {} },
            session: {
                get: async () => session,
                set: async (items) => { session = items; },
                remove: async () => { session = {}; },
            },
        },
    };
    await import(`../../extension/background.mjs?${++starts}`);
    const connect = () => {
        const port = new Port("page", {
            origin: ORIGIN, url: `${ORIGIN}/`, frameId: 0, tab: { id: 1 },
        });
        globalThis.chrome.runtime.onConnect.call(port);
        return port;
    };
    return { hosts, changes, connect, read };
}

test("the call of a page that has gone meanwhile gets through, and leaves no " +
    "host", async () => {
    const { hosts, connect, read } = await start();
    const page = connect();
    page.onMessage.call({ id: 0, method: "Run", args: ["x"] });
    page.onDisconnect.call(page);
    await read();
    assert.deepEqual(hosts[0].sent, [{ id: 0, method: "Run", args: ["x"] }]);
    hosts[0].answer({ id: 0 });
    assert.ok(hosts[0].isClosed);
});

test("the page scripts stay registered while nothing changes", async () => {
    const first = await start();
    await first.read();
    const [[name, scripts]] = first.changes;
    assert.equal(name, "register");
    const [relay, page] = scripts;
    for (const [registered, expected] of [
        [[page, relay], []],
        [[page, { ...relay, matches: [] }], ["update"]],
        [[page], ["unregister", "register"]],
    ]) {
        const next = await start(registered);
        await next.read();
        assert.deepEqual(next.changes.map(([step]) => step), expected);
    }
});

test("a site whose permission comes after a restart is allowed", async () => {
    const { read } = await start();
    await read();
    const { runtime } = globalThis.chrome;
    const question =
        { type: "expect", origin: "https://b.example", ports: [32153] };
    const sender = { id: runtime.id, url: runtime.getURL("/popup.html") };
    await new Promise((resolve) => {
        runtime.onMessage.call(question, sender, resolve);
    });
    const next = await start();
    await next.read();
    await globalThis.chrome.permissions.onAdded.call();
    const [, [relay]] = next.changes.at(-1);
    assert.deepEqual(
        relay.matches, ["https://a.example/*", "https://b.example/*"]);
});

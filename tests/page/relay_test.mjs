// The scripts that run beside a page, in one world of events without a
// browser: what leaves the page, how much at a time, and that every call is
// answered.

import assert from "node:assert/strict";
import { readFile } from "node:fs/promises";
import { test } from "node:test";
import vm from "node:vm";

import { Port } from "./port.mjs";

const [PAGE, RELAY] = await Promise.all(["page.js", "relay.js"].map(
    (name) => readFile(
        new URL(`../../extension/${name}`, import.meta.url), "utf8")));

class DetailEvent extends Event {
    #detail;

    constructor(type, options) {
        super(type, options);
        this.#detail = options.detail;
    }

    get detail() {
        return this.#detail;
    }
}

// A window with both scripts, or those that are asked for.
function makeWindow(scripts = [RELAY, PAGE], prerendering = false) {
    const ports = [];
    const greetings = [];
    const observers = [];
    const document = Object.assign(new EventTarget(), { prerendering });
    const window = new EventTarget();
    const runtime = {
        connect() {
            ports.push(new Port());
            return ports.at(-1);
        },
        async sendMessage(message) {
            greetings.push(message);
        },
    };
    const scope = vm.createContext({
        window, document, origin: "https://a.example",
        chrome: { runtime },
        EventTarget, Event, AbortSignal, CustomEvent: DetailEvent,
        queueMicrotask,
        MutationObserver: class {
            constructor(observe) {
                observers.push(observe);
            }

            observe() {}
        },
    });
    window.top = window;
    scope.self = scope;
    for (const script of scripts)
        vm.runInContext(script, scope);
    const valdrin = new scope.ValdrinConnection();
    return { ports, greetings, runtime, window, document, valdrin };
}

function codeOf(promise) {
    return promise.then(() => "done", (error) => error.code);
}

test("calls leave as they were made and get their own answers", async () => {
    const { valdrin, ports } = makeWindow();
    const run = valdrin.Run("a");
    const stash = valdrin.StashString("b");
    const [first, second] = ports[0].sent;
    assert.deepEqual(JSON.parse(JSON.stringify([first, second])), [
        { id: 0, method: "Run", args: ["a"] },
        { id: 1, method: "StashString", args: ["b"] },
    ]);
    ports[0].answer(second, "dropped");
    ports[0].onMessage.call({ id: first.id, part: "x ", last: false });
    ports[0].answer(first, " y");
    assert.equal(await run, "x  y");
    assert.equal(await stash, undefined);
});

test("eight calls leave at a time, 256 wait, and more are refused",
    async () => {
        const { valdrin, ports } = makeWindow();
        const codes = Array.from(
            { length: 265 }, () => codeOf(valdrin.Run("x")));
        const { sent } = ports[0];
        assert.equal(sent.length, 8);
        assert.equal(await codes[264], "busy");
        for (let i = 0; i < sent.length; ++i) {
            assert.ok(sent.length <= 8 + i, `call ${i}`);
            ports[0].answer(sent[i]);
        }
        assert.equal(sent.length, 264);
        assert.deepEqual(
            await Promise.all(codes.slice(0, 264)), Array(264).fill("done"));
    });

test("an aborted call that waits never leaves, one that has keeps its place",
    async () => {
        const { valdrin, ports } = makeWindow();
        const controllers = [new AbortController(), new AbortController()];
        const [left, waits] = controllers.map(({ signal }) => ({ signal }));
        const aborted = [valdrin.Run("left", left)];
        for (let i = 1; i < 8; ++i)
            valdrin.Run("x");
        aborted.push(valdrin.Run("waits", waits));
        const last = valdrin.Run("last");
        for (const [i, controller] of controllers.entries()) {
            controller.abort("enough");
            await assert.rejects(aborted[i], (reason) => reason === "enough");
        }
        const { sent } = ports[0];
        assert.equal(sent.length, 8);
        ports[0].answer(sent[0], "too late");
        assert.equal(sent.length, 9);
        assert.equal(sent[8].args[0], "last");
        ports[0].answer(sent[8], "done");
        assert.equal(await last, "done");
    });

// The background would see its document as that of a frame, also later.
test("nothing leaves a page before it is shown", async () => {
    const { valdrin, ports, greetings, document } =
        makeWindow([RELAY, PAGE], true);
    const run = valdrin.Run("x");
    assert.deepEqual([ports.length, greetings.length], [0, 0]);
    document.prerendering = false;
    for (let i = 0; i < 2; ++i) // the page may make more of these events
        document.dispatchEvent(new Event("prerenderingchange"));
    assert.deepEqual([ports.length, greetings.length], [1, 1]);
    ports[0].answer(ports[0].sent[0], "done");
    assert.equal(await run, "done");
});

test("a connection that is lost or left rejects all, and a call makes one",
    async () => {
        const { valdrin, ports, window } = makeWindow();
        const codes = Array.from(
            { length: 20 }, () => codeOf(valdrin.Run("x")));
        ports[0].onDisconnect.call();
        assert.deepEqual(
            await Promise.all(codes), Array(20).fill("disconnected"));
        const next = valdrin.Run("next");
        ports[1].answer(ports[1].sent[0], "done");
        assert.equal(await next, "done");
        // The page is left.
        const code = codeOf(valdrin.Run("x"));
        window.dispatchEvent(new Event("pagehide"));
        assert.equal(await code, "disconnected");
        assert.ok(ports[1].isClosed);
    });

test("a call that nobody hears is refused", async () => {
    const { valdrin } = makeWindow([PAGE]);
    assert.equal(await codeOf(valdrin.Run("x")), "disconnected");
    const { valdrin: updated, runtime } = makeWindow();
    runtime.connect = () => {
        throw new Error("the extension has gone");
    };
    assert.equal(await codeOf(updated.Run("x")), "disconnected");
});

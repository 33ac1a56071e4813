// The decisions of the background, alone.

import assert from "node:assert/strict";
import { test } from "node:test";

import {
    MAX_CALLS, MAX_TEXT, callerOf, decide, hostKeyOf, originOf, patternOf,
    portsOf, siteOf, sitesOf,
} from "../../extension/decide.mjs";

const SITE = "https://scenes.example.com";
const SENDER = {
    origin: SITE, url: `${SITE}/page`, frameId: 0, tab: { incognito: false },
};
const SITES = new Map([[SITE, [32153, 40000]]]);

// Each row is what is given, and what is expected for it.
function checkRows(rows, decide) {
    for (const [given, expected] of rows)
        assert.deepEqual(decide(given), expected, JSON.stringify(given));
}

test("a site is an exact https origin, or one of this machine", () => {
    checkRows([
        [" https://a.example ", "https://a.example"],
        ["https://a.example:8443/x?y", "https://a.example:8443"],
        ["https://a.example:443", "https://a.example"],
        ["HTTPS://A.Example/", "https://a.example"],
        ["a.example", "https://a.example"],
        ["a.example:8443", "https://a.example:8443"],
        ["https://ü.example", "https://xn--tda.example"],
        ["http://localhost:8000", "http://localhost:8000"],
        ["localhost:8000", "http://localhost:8000"],
        ["127.0.0.1", "http://127.0.0.1"],
        ["https://localhost", "https://localhost"],
        ["null", "https://null"],
    ], siteOf);
    for (const address of [
        "http://a.example", "http://localhost.a.example", "http://127.0.0.2",
        "https://*.example", "https://[::1]:8000", "*", "<all_urls>",
        "file:///etc/passwd", "about:blank", "data:text/html,x", "",
    ])
        assert.equal(siteOf(address), null, address);
});

test("a page's address has an origin only where it can be allowed", () => {
    assert.equal(originOf(`${SITE}/x`), SITE);
    for (const address of [
        `blob:${SITE}/0e5`, "about:blank", "data:text/html,://",
        "moz-extension://0e5/popup.html",
    ])
        assert.equal(originOf(address), null, address);
});

test("the browser is asked for one host and no other", () => {
    assert.equal(patternOf("https://a.example:8443"), "https://a.example/*");
    assert.equal(patternOf("http://127.0.0.1:1"), "http://127.0.0.1/*");
});

test("ports are a list of numbers from 1 to 65535", () => {
    checkRows([
        ["32153", [32153]],
        [" 40000, 32153;32153\t1", [1, 32153, 40000]],
        ["65535", [65535]],
    ], portsOf);
    for (const text of
        ["", " , ", "0", "65536", "32153 x", "1e4", "-1", "0x7d99"])
        assert.equal(portsOf(text), null, text);
});

test("what was stored by somebody else allows nobody", () => {
    assert.deepEqual(
        [...sitesOf([{ origin: SITE, ports: [0, "1", 1.5, 40000] }])],
        [[SITE, [40000]]]);
    for (const stored of [
        undefined,
        { origin: SITE, ports: [1] },
        [null, 7, "x", [SITE]],
        [{ origin: `${SITE}/x`, ports: [1] }],
        [{ origin: "http://a.example", ports: [1] }],
        [{ origin: SITE }],
        [{ origin: SITE, ports: [0] }],
    ])
        assert.equal(sitesOf(stored).size, 0, JSON.stringify(stored));
});

test("only the document of a tab calls, by the browser's word for it", () => {
    const refused = {
        "a frame": { frameId: 1 },
        "no frame number": { frameId: undefined },
        "no tab": { tab: undefined },
        "a sandboxed page": { origin: "null" },
        "no origin": { origin: undefined },
        "an address as origin": { origin: `${SITE}/` },
        "about:blank": { url: "about:blank" },
        "a blob": { url: `blob:${SITE}/0e5` },
        "a longer host": { url: `${SITE}.evil.example/` },
        "another port": { url: `${SITE}:444/` },
        "plain http": { origin: "http://a.example", url: "http://a.example/" },
    };
    assert.equal(callerOf(SENDER), SITE, "a page");
    assert.equal(callerOf({ ...SENDER, url: `${SITE}/` }), SITE, "the site");
    for (const [name, sender] of Object.entries(refused))
        assert.equal(callerOf({ ...SENDER, ...sender }), null, name);
    assert.equal(callerOf(undefined), null);
});

test("private windows share no host with the others", () => {
    const hidden = { ...SENDER, tab: { incognito: true } };
    assert.notEqual(hostKeyOf(hidden), hostKeyOf(SENDER));
});

function codeOf(message, { sender = SENDER, calls = 0 } = {}) {
    return decide(SITES, sender, message, calls).refusal?.code ?? "accepted";
}

test("a call has a method of the six and what it takes", () => {
    const accepted = [["Run", "x"], ["Run", ""], ["GetStashedString"],
        ["SetSocketPortNum", 40000]];
    for (const [method, ...args] of accepted)
        assert.equal(codeOf({ id: 1, method, args }), "accepted", method);
    const refused = [
        { method: "GetStashedString", args: ["x"] },
        { method: "GetStashedString" },
        { method: "Run", args: [] },
        { method: "Run", args: ["x", "y"] },
        { method: "Run", args: { 0: "x", length: 1 } },
        { method: "Run", args: [7] },
        { method: "Run", args: [["x"]] },
        { method: "Run", args: ["a\0"] },
        { method: "StashString", args: [null] },
        { method: "run", args: ["x"] },
        { method: "Check", args: [32153] },
        { method: "__proto__", args: [] },
        { method: "constructor", args: [] },
        { method: ["Run"], args: ["x"] },
        { args: ["x"] },
        { method: "SetSocketPortNum", args: ["32153"] },
        { method: "SetSocketPortNum", args: [1.5] },
        { method: "SetSocketPortNum", args: [NaN] },
    ];
    for (const call of refused)
        assert.equal(
            codeOf({ id: 1, ...call }), "argument", JSON.stringify(call));
    // The second would reach the application by another number of its port.
    for (const port of [40001, 32153 - 65535]) {
        const call = { id: 1, method: "SetSocketPortNum", args: [port] };
        assert.equal(codeOf(call), "port", `${port}`);
    }
});

test("a call has an id of its own", () => {
    for (const id of [undefined, "1", -1, 1.5, NaN, 2 ** 53])
        assert.equal(
            codeOf({ id, method: "Run", args: ["x"] }), "argument", String(id));
    const inherited = Object.create({ id: 1 });
    Object.assign(inherited, { method: "Run", args: ["x"] });
    assert.equal(codeOf(inherited), "argument", "an inherited id");
    assert.equal(codeOf(null), "argument", "null");
    assert.equal(codeOf([1]), "argument", "a list");
});

test("a text has 1,048,576 units at most", () => {
    for (const [units, code] of [[MAX_TEXT, "accepted"],
        [MAX_TEXT + 1, "argument"]]) {
        const args = ["y".repeat(units)];
        assert.equal(codeOf({ id: 1, method: "Run", args }), code, `${units}`);
    }
});

test("sites that are not listed are refused before all else", () => {
    const sender = {
        ...SENDER, origin: `${SITE}:444`, url: `${SITE}:444/page`,
    };
    assert.equal(codeOf({ id: 1, method: "nonsense" }, { sender }), "origin");
    assert.equal(codeOf(null, { sender }), "origin");
});

test("a site has no more calls under way than it may", () => {
    const call = { id: 1, method: "Run", args: ["x"] };
    assert.equal(codeOf(call, { calls: MAX_CALLS - 1 }), "accepted");
    assert.equal(codeOf(call, { calls: MAX_CALLS }), "busy");
});

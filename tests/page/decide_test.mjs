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

// Each row's `given` gives what is `expected`.
function checkRows(rows, decide) {
    for (const { given, expected } of rows)
        assert.deepEqual(decide(given), expected, JSON.stringify(given));
}

test("a site is an exact https origin, or one of this machine", () => {
    checkRows([
        { given: " https://a.example ", expected: "https://a.example" },
        { given: "https://a.example:8443/x?y",
            expected: "https://a.example:8443" },
        { given: "https://a.example:443", expected: "https://a.example" },
        { given: "HTTPS://A.Example/", expected: "https://a.example" },
        { given: "a.example", expected: "https://a.example" },
        { given: "a.example:8443", expected: "https://a.example:8443" },
        { given: "https://ü.example", expected: "https://xn--tda.example" },
        { given: "http://localhost:8000", expected: "http://localhost:8000" },
        { given: "localhost:8000", expected: "http://localhost:8000" },
        { given: "127.0.0.1", expected: "http://127.0.0.1" },
        { given: "https://localhost", expected: "https://localhost" },
        { given: "http://a.example", expected: null },
        { given: "http://localhost.a.example", expected: null },
        { given: "http://127.0.0.2", expected: null },
        { given: "https://*.example", expected: null },
        { given: "https://[::1]:8000", expected: null },
        { given: "*", expected: null },
        { given: "<all_urls>", expected: null },
        { given: "file:///etc/passwd", expected: null },
        { given: "about:blank", expected: null },
        { given: "data:text/html,x", expected: null },
        { given: "null", expected: "https://null" },
        { given: "", expected: null },
    ], siteOf);
});

test("a page's address has an origin only where it can be allowed", () => {
    checkRows([
        { given: `${SITE}/x`, expected: SITE },
        { given: `blob:${SITE}/0e5`, expected: null },
        { given: "about:blank", expected: null },
        { given: "data:text/html,://", expected: null },
        { given: "moz-extension://0e5/popup.html", expected: null },
    ], originOf);
});

test("the browser is asked for one host and no other", () => {
    assert.equal(patternOf("https://a.example:8443"), "https://a.example/*");
    assert.equal(patternOf("http://127.0.0.1:1"), "http://127.0.0.1/*");
});

test("ports are a list of numbers from 1 to 65535", () => {
    checkRows([
        { given: "32153", expected: [32153] },
        { given: " 40000, 32153;32153\t1", expected: [1, 32153, 40000] },
        { given: "65535", expected: [65535] },
        { given: "", expected: null },
        { given: " , ", expected: null },
        { given: "0", expected: null },
        { given: "65536", expected: null },
        { given: "32153 x", expected: null },
        { given: "1e4", expected: null },
        { given: "-1", expected: null },
        { given: "0x7d99", expected: null },
    ], portsOf);
});

test("what was stored by somebody else allows nobody", () => {
    checkRows([
        { given: undefined, expected: [] },
        { given: { origin: SITE, ports: [1] }, expected: [] },
        { given: [null, 7, "x", [SITE]], expected: [] },
        { given: [{ origin: `${SITE}/x`, ports: [1] }], expected: [] },
        { given: [{ origin: "http://a.example", ports: [1] }], expected: [] },
        { given: [{ origin: SITE }], expected: [] },
        { given: [{ origin: SITE, ports: [0] }], expected: [] },
        {
            given: [{ origin: SITE, ports: [0, "1", 1.5, 40000] }],
            expected: [[SITE, [40000]]],
        },
    ], (stored) => [...sitesOf(stored)]);
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
    const rows = [
        { method: "Run", args: ["x"], code: "accepted" },
        { method: "Run", args: [""], code: "accepted" },
        { method: "GetStashedString", args: [], code: "accepted" },
        { method: "GetStashedString", args: ["x"], code: "argument" },
        { method: "GetStashedString", code: "argument" },
        { method: "Run", args: [], code: "argument" },
        { method: "Run", args: ["x", "y"], code: "argument" },
        { method: "Run", args: { 0: "x", length: 1 }, code: "argument" },
        { method: "Run", args: [7], code: "argument" },
        { method: "Run", args: [["x"]], code: "argument" },
        { method: "Run", args: ["a\0"], code: "argument" },
        { method: "StashString", args: [null], code: "argument" },
        { method: "run", args: ["x"], code: "argument" },
        { method: "Check", args: [32153], code: "argument" },
        { method: "__proto__", args: [], code: "argument" },
        { method: "constructor", args: [], code: "argument" },
        { method: "toString", args: [], code: "argument" },
        { method: ["Run"], args: ["x"], code: "argument" },
        { args: ["x"], code: "argument" },
        { method: "SetSocketPortNum", args: [40000], code: "accepted" },
        { method: "SetSocketPortNum", args: [40001], code: "port" },
        // The application would be reached all the same, by another number.
        { method: "SetSocketPortNum", args: [32153 - 65535], code: "port" },
        { method: "SetSocketPortNum", args: ["32153"], code: "argument" },
        { method: "SetSocketPortNum", args: [1.5], code: "argument" },
        { method: "SetSocketPortNum", args: [NaN], code: "argument" },
    ];
    for (const { code, ...call } of rows)
        assert.equal(codeOf({ id: 1, ...call }), code, JSON.stringify(call));
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

// The decisions of the background, alone.

import assert from "node:assert/strict";
import { test } from "node:test";

import {
    MAX_CALLS, MAX_TEXT, callerOf, decide, firstPort, hostKeyOf, originOf, patternOf,
    portsOf, siteOf, sitesOf,
} from "../../extension/decide.mjs";

const SITE = "https://scenes.example.com";
const SENDER = {
    origin: SITE, url: `${SITE}/page`, frameId: 0, tab: { incognito: false },
};
const SITES = new Map([[SITE, [32153, 40000]]]);

test("a site is an exact https origin, or one of this machine", () => {
    const rows = [
        { typed: " https://a.example ", site: "https://a.example" },
        { typed: "https://a.example:8443/x?y",
            site: "https://a.example:8443" },
        { typed: "https://a.example:443", site: "https://a.example" },
        { typed: "HTTPS://A.Example/", site: "https://a.example" },
        { typed: "a.example", site: "https://a.example" },
        { typed: "a.example:8443", site: "https://a.example:8443" },
        { typed: "https://ü.example", site: "https://xn--tda.example" },
        { typed: "http://localhost:8000", site: "http://localhost:8000" },
        { typed: "localhost:8000", site: "http://localhost:8000" },
        { typed: "127.0.0.1", site: "http://127.0.0.1" },
        { typed: "https://localhost", site: "https://localhost" },
        { typed: "http://a.example", site: null },
        { typed: "http://localhost.a.example", site: null },
        { typed: "http://127.0.0.2", site: null },
        { typed: "https://*.example", site: null },
        { typed: "https://[::1]:8000", site: null },
        { typed: "*", site: null },
        { typed: "<all_urls>", site: null },
        { typed: "file:///etc/passwd", site: null },
        { typed: "about:blank", site: null },
        { typed: "data:text/html,x", site: null },
        { typed: "null", site: "https://null" },
        { typed: "", site: null },
    ];
    for (const { typed, site } of rows)
        assert.equal(siteOf(typed), site, typed);
});

test("a page's address has an origin only where it can be allowed", () => {
    const rows = [
        { address: `${SITE}/x`, origin: SITE },
        { address: `blob:${SITE}/0e5`, origin: null },
        { address: "about:blank", origin: null },
        { address: "data:text/html,://", origin: null },
        { address: "moz-extension://0e5/popup.html", origin: null },
    ];
    for (const { address, origin } of rows)
        assert.equal(originOf(address), origin, address);
});

test("the browser is asked for one host and no other", () => {
    assert.equal(patternOf("https://a.example:8443"), "https://a.example/*");
    assert.equal(patternOf("http://127.0.0.1:1"), "http://127.0.0.1/*");
});

test("ports are a list of numbers from 1 to 65535", () => {
    const rows = [
        { typed: "32153", ports: [32153] },
        { typed: " 40000, 32153;32153\t1", ports: [1, 32153, 40000] },
        { typed: "65535", ports: [65535] },
        { typed: "", ports: null },
        { typed: " , ", ports: null },
        { typed: "0", ports: null },
        { typed: "65536", ports: null },
        { typed: "32153 x", ports: null },
        { typed: "1e4", ports: null },
        { typed: "-1", ports: null },
        { typed: "0x7d99", ports: null },
    ];
    for (const { typed, ports } of rows)
        assert.deepEqual(portsOf(typed), ports, JSON.stringify(typed));
});

test("a host uses another port where its default is not listed", () => {
    assert.equal(firstPort([1, 32153]), null);
    assert.equal(firstPort([32154, 40000]), 32154);
});

test("what was stored by somebody else allows nobody", () => {
    const rows = [
        { stored: undefined, allowed: [] },
        { stored: { origin: SITE, ports: [1] }, allowed: [] },
        { stored: [null, 7, "x", [SITE]], allowed: [] },
        { stored: [{ origin: `${SITE}/x`, ports: [1] }], allowed: [] },
        { stored: [{ origin: "http://a.example", ports: [1] }], allowed: [] },
        { stored: [{ origin: SITE }], allowed: [] },
        { stored: [{ origin: SITE, ports: [0] }], allowed: [] },
        {
            stored: [{ origin: SITE, ports: [0, "1", 1.5, 40000] }],
            allowed: [[SITE, [40000]]],
        },
    ];
    for (const { stored, allowed } of rows)
        assert.deepEqual([...sitesOf(stored)], allowed, JSON.stringify(stored));
});

test("only the document of a tab calls, by the browser's word for it", () => {
    const rows = [
        { name: "a page", sender: {}, origin: SITE },
        { name: "its site itself", sender: { url: `${SITE}/` }, origin: SITE },
        { name: "a frame", sender: { frameId: 1 }, origin: null },
        { name: "no frame number",
            sender: { frameId: undefined }, origin: null },
        { name: "no tab", sender: { tab: undefined }, origin: null },
        { name: "a sandboxed page", sender: { origin: "null" }, origin: null },
        { name: "no origin", sender: { origin: undefined }, origin: null },
        { name: "an address as origin",
            sender: { origin: `${SITE}/` }, origin: null },
        { name: "about:blank", sender: { url: "about:blank" }, origin: null },
        { name: "a blob",
            sender: { url: `blob:${SITE}/0e5` }, origin: null },
        { name: "a longer host",
            sender: { url: `${SITE}.evil.example/` }, origin: null },
        { name: "another port",
            sender: { url: `${SITE}:444/` }, origin: null },
        { name: "plain http",
            sender: { origin: "http://a.example", url: "http://a.example/" },
            origin: null },
    ];
    for (const { name, sender, origin } of rows)
        assert.equal(callerOf({ ...SENDER, ...sender }), origin, name);
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

test("half a surrogate pair becomes a replacement character", () => {
    const args = ["\ud83d\ude00 \ud83d x \ude00"];
    const decision =
        decide(SITES, SENDER, { id: 1, method: "Run", args }, 0);
    assert.deepEqual(decision.args, ["\ud83d\ude00 \ufffd x \ufffd"]);
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

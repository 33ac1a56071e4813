// A call of a page costs little more than a bare exchange of the browser with
// a native host: at most half as much again for a small one, a third for a
// large reply.
//
//   page_bench.mjs BIN     BIN: the folder of the built programs
//
// BROWSER is firefox (or nothing) or chromium. "bare" is a page of the
// extension that talks to a program which answers at once; "bridge" is the
// same with valdrin-bridge, which answers from its stash; "stash" is a page of
// a site that asks for the stash; "Run" is one that asks an application.

import { cp, mkdtemp, rm, writeFile } from "node:fs/promises";
import os from "node:os";
import path from "node:path";
import { fileURLToPath } from "node:url";

import { scriptedApplication } from "../browsers/application.mjs";
import { wrapScript } from "../browsers/host.mjs";
import {
    EXTENSION, findBrowser, Session,
} from "../browsers/session.mjs";
import { serve } from "../browsers/web.mjs";

const BIN = path.resolve(process.argv[2]);
const BRIDGE = path.join(BIN, "valdrin-bridge");
const FAKE = fileURLToPath(
    new URL("../browsers/fake_host.mjs", import.meta.url));

// Runs in the pages: the times of `count` rounds in milliseconds. A round is
// `together` calls at once.
const MEASURE = `
    async function measure(ask, count, together) {
        const times = [];
        for (let i = -Math.ceil(count / 5); i < count; ++i) {
            const start = performance.now();
            await Promise.all(Array.from({ length: together }, ask));
            if (i >= 0)
                times.push(performance.now() - start);
        }
        return times;
    }`;

// The page of the extension: asks the host itself. Clocks of such pages have
// a resolution of a millisecond in Firefox, as those of all pages.
const BARE_PAGE = "<!DOCTYPE html><script src='bench.js'></script>";
const BARE_SCRIPT = `${MEASURE}
    const api = globalThis.browser ?? globalThis.chrome;
    let port;
    let nextId = 0;
    const waiting = new Map();
    function ask(method, args) {
        const id = nextId++;
        port.postMessage({ id, method, args });
        return new Promise((resolve) => {
            waiting.set(id, { resolve, text: "" });
        });
    }
    document.addEventListener("bench", async (event) => {
        const { units, count, together } = JSON.parse(event.detail);
        port = api.runtime.connectNative("com.norvex.valdrinconnection");
        port.onMessage.addListener(({ id, part, last }) => {
            const entry = waiting.get(id);
            entry.text += part;
            if (last) {
                waiting.delete(id);
                entry.resolve(entry.text);
            }
        });
        // No text that is sent is longer than this.
        const isStash = units <= 1000000;
        if (isStash)
            await ask("StashString", ["0123456789".repeat(units / 10)]);
        const method = isStash ? "GetStashedString" : "Digits";
        const args = isStash ? [] : [units];
        const times = await measure(() => ask(method, args), count, together);
        port.disconnect();
        document.dispatchEvent(new CustomEvent(
            "times", { detail: JSON.stringify(times) }));
    });`;

const SIZES = [
    { name: "10 characters", units: 10, count: 400, together: 1 },
    { name: "8 calls at once", units: 10, count: 100, together: 8 },
    { name: "900 KB", units: 900000, count: 20, together: 1 },
    { name: "5 MB", units: 5000000, count: 8, together: 1 },
];

function show(name, times) {
    const sorted = [...times].sort((a, b) => a - b);
    const at = (share) => sorted[Math.floor((sorted.length - 1) * share)];
    const mean = times.reduce((sum, time) => sum + time, 0) / times.length;
    console.log(
        `  ${name.padEnd(8)} mean ${mean.toFixed(2).padStart(8)} ms   ` +
        `median ${at(0.5).toFixed(2).padStart(8)}   ` +
        `95 % ${at(0.95).toFixed(2).padStart(8)}`);
    return mean;
}

async function bare(session, host, size) {
    await session.useHost(host);
    await session.browser.open(session.browser.extensionUrl("bench.html"));
    return JSON.parse(await session.browser.look(`
        return new Promise((resolve) => {
            document.addEventListener("times",
                (event) => resolve(event.detail), { once: true });
            document.dispatchEvent(
                new CustomEvent("bench", { detail: JSON.stringify(args[0]) }));
        });`, size));
}

async function fromPage(session, web, application, call, size) {
    await session.useHost(BRIDGE);
    await session.browser.open(`${web.origin}/`);
    const { value, error } = await session.browser.run(`${MEASURE}
        const [port, { units, count, together }] = args;
        const valdrin = new ValdrinConnection();
        await valdrin.SetSocketPortNum(port);
        if (units <= 1000000)
            await valdrin.StashString("0123456789".repeat(units / 10));
        return measure(() => ${call}, count, together);`,
    application.port, size);
    if (error)
        throw new Error(error.message);
    return value;
}

async function main() {
    const { kind } = await findBrowser();
    const scratch = await mkdtemp(path.join(os.tmpdir(), "valdrin-bench-"));
    const extension = path.join(scratch, "extension");
    await cp(EXTENSION, extension, { recursive: true });
    await writeFile(path.join(extension, "bench.html"), BARE_PAGE);
    await writeFile(path.join(extension, "bench.js"), BARE_SCRIPT);
    const echo = await wrapScript(path.join(scratch, "echo"), FAKE, "stash");
    const application = await scriptedApplication((request) => Buffer.from(
        "0123456789".repeat(/\d+(?=\]\]>)/.exec(request)[0] / 10)));
    const web = await serve({ "/": { body: "bench" } });
    const session = await Session.start(kind, BRIDGE, { extension });
    try {
        const { browser } = session;
        await browser.open(browser.extensionUrl("options.html"));
        await session.allow(web.origin, [application.port]);
        await session.waitForSite(web.origin);
        for (const size of SIZES) {
            console.log(size.name);
            const peer = show("bare", await bare(session, echo, size));
            if (size.units <= 1000000) {
                show("bridge", await bare(session, BRIDGE, size));
                const stash = show("stash", await fromPage(
                    session, web, application, "valdrin.GetStashedString()",
                    size));
                console.log(`  ${(stash / peer).toFixed(2)} times "bare"`);
            }
            const run = show("Run", await fromPage(
                session, web, application, "valdrin.Run(`digits ${units}`)",
                size));
            console.log(`  ${(run / peer).toFixed(2)} times "bare"\n`);
        }
    } finally {
        await session.close();
        application.close();
        web.close();
        await rm(scratch, { recursive: true, force: true });
    }
}

await main();

// When a slider of the example page moves an object in Blender, the rendering
// takes most of the time: the way from the page to the application and back
// takes about ten milliseconds, in which the picture travels as well.
//
//   slider_bench.mjs BIN [MOVES]     BIN: the folder of the built programs
//
// BROWSER is firefox (or nothing) or chromium. Each move is made twice, by the
// slider of the page, and by a native host of our own that gets the same call:
// the difference is what the page, the browser and the extension take. The
// application times itself. The medians of the moves are shown, and with them
// the 90th percentile.

import { spawn } from "node:child_process";
import path from "node:path";

import { blender } from "../browsers/application.mjs";
import { findBrowser, ROOT, Session } from "../browsers/session.mjs";
import { waitFor } from "../browsers/wait.mjs";
import { serveFolder } from "../browsers/web.mjs";

const BIN = path.resolve(process.argv[2]);
const BRIDGE = path.join(BIN, "valdrin-bridge");
const MOVES = Number(process.argv[3] ?? 100);
const WARM_UP = 10;

// A native host without a browser.
class Host {
    #process = spawn(
        BRIDGE, ["/valdrin.json", "valdrin-connection@norvex.com"],
        { stdio: ["pipe", "pipe", "inherit"] });
    #bytes = Buffer.alloc(0);
    #reply = "";
    #resolve;

    constructor() {
        this.#process.stdout.on("data", (chunk) => this.#take(chunk));
    }

    #take(chunk) {
        this.#bytes = Buffer.concat([this.#bytes, chunk]);
        while (this.#bytes.length >= 4) {
            const end = 4 + this.#bytes.readUInt32LE();
            if (this.#bytes.length < end)
                return;
            const { part, last } = JSON.parse(this.#bytes.subarray(4, end));
            this.#bytes = this.#bytes.subarray(end);
            this.#reply += part;
            if (last)
                this.#resolve(this.#reply);
        }
    }

    ask(method, ...args) {
        const body = Buffer.from(JSON.stringify({ id: 0, method, args }));
        const head = Buffer.alloc(4);
        head.writeUInt32LE(body.length);
        this.#reply = "";
        this.#process.stdin.write(Buffer.concat([head, body]));
        return new Promise((resolve) => {
            this.#resolve = resolve;
        });
    }

    close() {
        this.#process.stdin.end();
    }
}

// Moves the slider and waits until the page shows the answer.
const MOVE_SLIDER = `
    const slider = document.querySelector("#x");
    const times = document.querySelector("#times");
    const shown = new Promise((resolve) => {
        new MutationObserver((_, observer) => {
            observer.disconnect();
            resolve(performance.now());
        }).observe(times, { childList: true });
    });
    const start = performance.now();
    slider.value = args[0];
    slider.dispatchEvent(new Event("input"));
    return {
        shown: await shown - start,
        call: Number(times.dataset.call),
        application: Number(times.dataset.application),
    };`;

async function moveByHost(host, x) {
    const start = performance.now();
    const reply = await host.ask(
        "RunPythonExpression", `page.show("Cube", ${x})`);
    return {
        call: performance.now() - start,
        application: JSON.parse(reply).milliseconds,
        size: reply.length,
    };
}

function show(name, times) {
    const sorted = [...times].sort((a, b) => a - b);
    const at = (share) =>
        sorted[Math.floor((sorted.length - 1) * share)].toFixed(1).padStart(6);
    console.log(`  ${name.padEnd(44)} ${at(0.5)} ms   90 % ${at(0.9)}`);
}

async function measure(browser, host) {
    const moves = [];
    for (let i = -WARM_UP; i < MOVES; ++i) {
        const x = (i % 40) / 10;
        const page = await browser.look(MOVE_SLIDER, x);
        const direct = await moveByHost(host, x);
        if (i >= 0)
            moves.push({ page, direct });
    }
    return moves;
}

function report(moves) {
    const bytes = moves.at(-1).direct.size;
    console.log(`${moves.length} moves of the slider, replies of about ` +
        `${Math.round(bytes / 1024)} KiB:`);
    const steps = [
        ["page: reads the reply, shows the picture",
            ({ page }) => page.shown - page.call],
        ["page - extension - host, and back", ({ page, direct }) =>
            page.call - page.application - direct.call + direct.application],
        ["host - component - port, and back",
            ({ direct }) => direct.call - direct.application],
        ["the application: moves, renders, encodes",
            ({ page }) => page.application],
        ["from the slider to the picture", ({ page }) => page.shown],
    ];
    for (const [name, time] of steps)
        show(name, moves.map(time));
}

async function main() {
    const { kind } = await findBrowser();
    const closers = [];
    try {
        const application = await blender();
        closers.unshift(() => application.close());
        const web = await serveFolder(path.join(ROOT, "examples/page"));
        closers.unshift(() => web.close());
        const session = await Session.start(kind, BRIDGE, { isTimed: true });
        closers.unshift(() => session.close());
        const { browser } = session;
        await browser.open(browser.extensionUrl("options.html"));
        await session.allow(web.origin, [application.port]);
        await session.waitForSite(web.origin);
        await browser.openTab(`${web.origin}/#port=${application.port}`);
        await waitFor("the page", () => browser.look(
            "return 'ready' in document.documentElement.dataset;"));
        const host = new Host();
        closers.unshift(() => host.close());
        await host.ask("SetSocketPortNum", application.port);
        report(await measure(browser, host));
    } finally {
        for (const close of closers)
            await close();
    }
}

await main();

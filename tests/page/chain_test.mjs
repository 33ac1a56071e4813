// The whole chain: a page in a real browser, the extension, the host with the
// library, and a program that plays the application.
//
// BROWSER is firefox (or nothing) or chromium, VALDRIN_BIN the folder of the
// built programs.

import assert from "node:assert/strict";
import path from "node:path";
import { after, before, test } from "node:test";
import { fileURLToPath } from "node:url";

import { scriptedApplication } from "../../browsers/application.mjs";
import { hostPids, wrapScript } from "../../browsers/host.mjs";
import { findBrowser, Session } from "../../browsers/session.mjs";
import { waitFor } from "../../browsers/wait.mjs";
import { serve } from "../../browsers/web.mjs";

const BIN = process.env.VALDRIN_BIN;
const BRIDGE = path.join(BIN, "valdrin-bridge");
const FAKE = fileURLToPath(
    new URL("../../browsers/fake_host.mjs", import.meta.url));

// Says whether a document has the class, to the page that it is in or alone.
const REPORT = `<script>
    const answer = typeof ValdrinConnection;
    document.title = answer;
    parent.postMessage(answer, "*");
</script>`;

const PAGES = {
    "/": { body: "<script>window.first = typeof ValdrinConnection;</script>" },
    "/next": { body: "next" },
    "/child": { body: REPORT },
    "/sandboxed": {
        headers: { "Content-Security-Policy": "sandbox allow-scripts" },
        body: REPORT,
    },
    // The strictest policy, and a page that spoils its own globals.
    "/hostile": {
        headers: {
            "Content-Security-Policy": "default-src 'none'; " +
                "script-src 'nonce-abc'; require-trusted-types-for 'script'",
        },
        body: `<img name="prerendering"><script nonce="abc">(async () => {
            Object.prototype.error = Object.prototype.last = "spoilt";
            Object.prototype.toJSON = Array.prototype.toJSON = () => "spoilt";
            JSON.stringify = JSON.parse = Reflect.apply = () => "spoilt";
            EventTarget.prototype.dispatchEvent = () => true;
            String.prototype.indexOf = () => 0;
            Array.prototype[Symbol.iterator] = null;
            window.Promise = window.CustomEvent = window.Error = null;
            const valdrin = new ValdrinConnection();
            await valdrin.SetSocketPortNum(Number(location.hash.slice(1)));
            document.title = await valdrin.Run("hostile");
        })();</script>`,
    },
    // Written anew in the middle of a call, which takes all listeners away.
    "/written": {
        body: `<script>addEventListener("load", () => setTimeout(async () => {
            const valdrin = new ValdrinConnection();
            await valdrin.SetSocketPortNum(Number(location.hash.slice(1)));
            const before = valdrin.Run("writ");
            document.open();
            document.write("<p>anew");
            document.close();
            document.title = await valdrin.Run("ten");
            document.title = await before + document.title;
        }));</script>`,
    },
    "/frames": {
        body: `<script>
            window.answers = [];
            addEventListener("message", (event) => answers.push(event.data));
            const blob = new Blob([${JSON.stringify(REPORT)
        .replaceAll("</", "<\\/")}], { type: "text/html" });
            const frame = document.createElement("iframe");
            frame.src = URL.createObjectURL(blob);
            document.documentElement.append(frame);
            </script>
            <iframe src="/child"></iframe>
            <iframe src="/sandboxed"></iframe>
            <iframe srcdoc="${REPORT.replaceAll('"', "&quot;")}"></iframe>`,
    },
};

let session;
let browser;
let site;    // allowed
let other;   // allowed, on another port
let stranger; // on an allowed host, but another port
let application;
let settings; // the tab of the settings page
let tab;     // the tab of the pages

// Answers with the text of a request; a few texts ask for something else.
function answer(request) {
    const text = /<!\[CDATA\[(.*)\]\]>/s.exec(request.toString("latin1"))[1];
    if (text === "silence")
        return null;
    return Buffer.from(text, "latin1");
}

async function open(address = `${site.origin}/`) {
    await browser.switchTo(tab);
    await browser.open(address);
}

// Runs the body of an async function in the page, with a connection whose
// port is that of the application. Gives what it returns.
async function call(body, ...args) {
    const { value, error } = await tryCall(body, ...args);
    assert.equal(error, undefined, JSON.stringify(error));
    return value;
}

// The same, as {value} or {error}.
function tryCall(body, ...args) {
    return browser.run(
        `const valdrin = new ValdrinConnection();
        const port = args.shift();
        await valdrin.SetSocketPortNum(port);
        ${body}`,
        application.port, ...args);
}

function typeOfClass() {
    return browser.look(
        "return typeof (window.wrappedJSObject ?? window).ValdrinConnection;");
}

async function onSettings(step) {
    await browser.switchTo(settings);
    const result = await step();
    await browser.switchTo(tab);
    return result;
}

function button(origin, name) {
    return `#sites > li[data-origin="${origin}"] .${name}`;
}

// Ends the hosts of a site, so that its next call starts one.
function disconnect(origin) {
    return onSettings(async () => {
        await waitFor("a connection to end", () => browser.look(
            "return !document.querySelector(args[0]).disabled;",
            button(origin, "disconnect")));
        await browser.click(button(origin, "disconnect"));
    });
}

// Waits until the row is gone, which moves those after it.
function takeBack(origin) {
    const remove = button(origin, "remove");
    return onSettings(async () => {
        await browser.click(remove);
        await waitFor(`${origin} to leave the list`, () => browser.look(
            "return !document.querySelector(args[0]);", remove));
    });
}

function waitForHosts(count) {
    return waitFor(`${count} hosts`, async () => {
        const pids = await hostPids(session.home);
        return pids.length === count && [pids];
    });
}

before(async () => {
    const { kind } = await findBrowser();
    application = await scriptedApplication(answer);
    [site, other, stranger] =
        await Promise.all([serve(PAGES), serve(PAGES), serve(PAGES)]);
    session = await Session.start(kind, BRIDGE, { asks: true });
    browser = session.browser;
    settings = await browser.currentTab();
    await browser.open(browser.extensionUrl("options.html"));
    tab = await browser.openTab(`${site.origin}/`);
});

after(async () => {
    await session?.close();
    for (const server of [application, site, other, stranger])
        server?.close();
});

test("a page has the class once its exact address is allowed", async () => {
    assert.equal(await typeOfClass(), "undefined", "before");
    await onSettings(async () => {
        await session.allow(site.origin, [application.port]);
        await browser.grant();
        await session.waitForSite(site.origin);
        await session.allow(other.origin, [application.port]);
        await session.waitForSite(other.origin);
    });
    await open();
    assert.equal(await typeOfClass(), "function", "after");
});

test("a page that names no port uses one of the user's", async () => {
    assert.deepEqual(
        await browser.run(`return new ValdrinConnection().Run("x");`),
        { value: "x" });
});

test("all six methods reach an application", async () => {
    assert.deepEqual(
        await call(`
            await valdrin.RunPythonStatements("x = 6");
            await valdrin.StashString("kept");
            return [
                await valdrin.Run("echo hi"),
                await valdrin.RunPythonExpression("x * 7"),
                await valdrin.GetStashedString(),
            ];`),
        ["echo hi", "x * 7", "kept"]);
});

test("the class is there before the page's first script, frozen", async () => {
    await open();
    assert.deepEqual(
        await call(`
            const before = ValdrinConnection;
            window.ValdrinConnection = null;
            return [
                window.first,
                window.ValdrinConnection === before,
                Object.isFrozen(ValdrinConnection),
                Object.isFrozen(ValdrinConnection.prototype),
            ];`),
        ["function", true, true, true]);
});

test("neither strict policies nor spoilt globals are a hindrance, nor writing",
    async () => {
        for (const title of ["hostile", "written"]) {
            await open(`${site.origin}/${title}#${application.port}`);
            await waitFor(title, async () => await browser.title() === title);
        }
    });

test("other sites have no class, other ports are refused", async () => {
    await open(`${site.otherName}/`);
    assert.equal(await typeOfClass(), "undefined");
    await open(`${stranger.origin}/`);
    const { error } = await tryCall("");
    assert.deepEqual(
        [error.name, error.code], ["ValdrinConnectionError", "origin"]);
});

test("frames have no class", async () => {
    await open(`${site.origin}/frames`);
    const answers = await waitFor("the frames", () => browser.look(`
        const { answers } = window.wrappedJSObject ?? window;
        return answers.length === 4 && Array.from(answers);`));
    assert.deepEqual(answers, Array(4).fill("undefined"));
});

// What else is wrong in an answer is found by Answers.
test("a host that lies is ended", async () => {
    await open();
    await call(`return valdrin.Run("before");`);
    await disconnect(site.origin);
    await session.useHost(await wrapScript(
        path.join(session.home, "host"), FAKE, "wrongId"));
    const { error } =
        await browser.run(`await new ValdrinConnection().Run("x");`);
    assert.equal(error.code, "host");
    await session.useHost(BRIDGE);
    assert.equal(await call(`return valdrin.Run("next");`), "next");
});

test("a host that hangs holds up only its own site", async () => {
    await open();
    await disconnect(site.origin);
    await call(`
        window.hung = valdrin.Run("silence").catch((error) => error.code);`);
    await browser.openTab(`${other.origin}/`);
    assert.equal(await call(`return valdrin.Run("elsewhere");`), "elsewhere");
    await browser.closeTab(tab);
    await disconnect(site.origin);
    assert.deepEqual(
        await browser.run("return window.hung;"), { value: "host" });
    assert.equal(await call(`return valdrin.Run("next");`), "next");
});

test("the next page of a site finds the stash, other sites do not",
    async () => {
        await open();
        await call(`await valdrin.StashString("for later");`);
        await open(`${site.origin}/next`);
        assert.equal(
            await call("return valdrin.GetStashedString();"), "for later");
        await open(`${other.origin}/`);
        assert.equal(await call("return valdrin.GetStashedString();"), "");
    });

test("a page that leaves in the middle of a call leaves nothing", async () => {
    await open();
    await call(`return valdrin.Run("x");`);
    await disconnect(site.origin);
    const count = (await hostPids(session.home)).length;
    await call(`valdrin.Run("silence");`);
    await waitForHosts(count + 1);
    await open(`${site.origin}/next`);
    assert.equal(await call(`return valdrin.Run("at once");`), "at once");
    await waitForHosts(count + 1);
});

test("taking a site back ends its calls, and its class", async () => {
    await open();
    await call(`
        window.pending = valdrin.Run("silence").catch((error) => error.code);`);
    await takeBack(site.origin);
    assert.deepEqual(
        await browser.run("return window.pending;"), { value: "origin" });
    const { error } = await tryCall("");
    assert.equal(error.code, "origin");
    await takeBack(other.origin);
    assert.ok(await onSettings(() => browser.look(
        "return !document.querySelector('#no-sites').hidden;")));
    await open();
    assert.equal(await typeOfClass(), "undefined");
});

test("the browser's end leaves no host", async () => {
    await onSettings(async () => {
        await session.allow(site.origin, [application.port]);
        await browser.grant(); // asked anew: it was given back
        await session.waitForSite(site.origin);
    });
    await open();
    await call(`await valdrin.Run("x"); valdrin.Run("silence");`);
    await waitForHosts(1);
    await browser.close();
    await waitForHosts(0);
});

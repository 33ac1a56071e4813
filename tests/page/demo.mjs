// Shows the main job: a page in a real browser drives an application. Does
// what a person would do, checks what the page then shows, prints the
// conversation and keeps pictures of it.
//
//   demo.mjs BIN PICTURES     BIN: the folder of the built programs

import assert from "node:assert/strict";
import { mkdir, readFile } from "node:fs/promises";
import path from "node:path";

import { standin } from "./support/application.mjs";
import { findBrowser, ROOT, Session } from "./support/session.mjs";
import { waitFor } from "./support/wait.mjs";
import { serve } from "./support/web.mjs";

const [bin, pictures] = process.argv.slice(2);
const isDark = process.env.COLOURS === "dark";

const TYPES = {
    ".html": "text/html; charset=utf-8",
    ".css": "text/css; charset=utf-8",
    ".js": "text/javascript; charset=utf-8",
};

// The files of the example, as any web server would serve them.
async function fileOf(name) {
    const file = name === "/" ? "index.html" : path.basename(name);
    try {
        const body = await readFile(path.join(ROOT, "examples/page", file));
        return { body, headers: { "Content-Type": TYPES[path.extname(file)] } };
    } catch {
        return null;
    }
}

function say(who, text) {
    for (const line of text.trimEnd().split("\n"))
        console.log(`${who.padStart(8)} | ${line}`);
}

// The text of an element, once it has become what `test` wants.
function textOf(browser, selector, test = (text) => text !== "") {
    return waitFor(selector, async () => {
        const text = await browser.look(
            "return document.querySelector(args[0])?.textContent ?? '';",
            selector);
        return test(text) && text;
    });
}

async function picture(browser, name) {
    const file = path.join(pictures, `${name}.png`);
    await browser.screenshot(file);
    console.log(`         [picture: ${path.relative(process.cwd(), file)}]\n`);
}

async function allowPage(session, web, application) {
    const { browser } = session;
    await browser.open(browser.extensionUrl("options.html"));
    await session.allow(web.origin, [application.port]);
    await session.waitForSite(web.origin);
    say("settings", `${web.origin} is allowed`);
    await browser.clear("#test-port");
    await browser.type("#test-port", String(application.port));
    await browser.click("#test button");
    await waitFor("the test", () => browser.look(
        "return document.querySelectorAll('#result li').length > 0;"));
    const lines = await browser.look(
        "return [...document.querySelectorAll('#result li')]" +
            ".map((item) => item.innerText.replace(/\\s+/g, ' '));");
    for (const line of lines)
        say("settings", line);
    assert.equal(lines.length, 3);
    await picture(browser, "settings");
}

async function showPopup(browser, web) {
    const tab = await browser.look(
        "const { browser, chrome } = window.wrappedJSObject ?? window;" +
            "const tabs = await (browser ?? chrome).tabs.query({});" +
            "return tabs.find((tab) => tab.url?.startsWith(args[0])).id;",
        web.origin);
    await browser.openTab(browser.extensionUrl(`popup.html?tab=${tab}`));
    await textOf(browser, "#state");
    await browser.resize(360, 300);
    await picture(browser, "toolbar");
    await browser.resize(1280, 1000);
}

// Sends through the console of the page and gives the answer.
async function converse(browser, kind, lines) {
    await browser.look(
        "document.querySelector('#kind').value = args[0];", kind);
    const count = await browser.look(
        "return document.querySelectorAll('#log li').length;");
    for (const [index, line] of lines.entries()) {
        await browser.type("#text", line);
        if (index < lines.length - 1)
            await browser.press("#text", "Enter", { shift: true });
    }
    say("page", lines.join("\n"));
    await browser.press("#text", "Enter");
    const answer = await textOf(
        browser, `#log li:nth-child(${count + 2})`,
        (text) => text !== "" && text !== "…");
    say("Valdrin", answer);
    console.log();
    return answer;
}

async function drivePage(browser) {
    await waitFor("the page", () => browser.look(
        "return 'ready' in document.documentElement.dataset;"));
    say("page", await textOf(browser, "#status"));
    await textOf(browser, "#spheres");
    await picture(browser, "page");

    await browser.clear("#expression");
    for (const word of ["[s.name ", "for s in scene ", "if s.radius > 1]"])
        await browser.type("#expression", word);
    say("page", "[s.name for s in scene if s.radius > 1]");
    const names = "['Größe', 'Ключ']";
    say("Valdrin", await textOf(browser, "#value", (text) => text === names));
    console.log();

    const place = "#spheres tr:first-child td:last-child";
    const before = await textOf(browser, place);
    for (let step = 0; step < 40; ++step)
        await browser.press("#angle", "ArrowRight");
    await textOf(browser, "#degrees", (text) => text === "65°");
    const after = await textOf(browser, place, (text) => text !== before);
    say("page", "the angle goes from 25° to 65°");
    say("Valdrin", `the first sphere goes from ${before} to ${after}`);
    console.log();

    assert.equal(
        await converse(browser, "Run", ["echo Hello from the page"]),
        "Hello from the page");
    assert.equal(
        await converse(browser, "RunPythonStatements", [
            "for sphere in scene:",
            "    sphere.radius *= 1.25",
        ]),
        "(no output)");
    assert.equal(
        await converse(
            browser, "RunPythonExpression",
            ["round(sum(s.volume() for s in scene), 3)"]),
        "43.712");
    assert.match(
        await converse(
            browser, "RunPythonExpression", ["scene[0].volume() / 0"]),
        /^Traceback .*\nZeroDivisionError: float division by zero$/s);
    await browser.press("#angle", "ArrowRight");
    await textOf(
        browser, "#spheres tr:first-child td:nth-child(2)",
        (text) => text === "1.88");
    await picture(browser, "page-used");
}

async function main() {
    const { kind, isThere } = await findBrowser();
    if (!isThere)
        throw new Error(`${kind.program} is not there`);
    await mkdir(pictures, { recursive: true });
    const closers = [];
    try {
        const application = await standin(bin);
        closers.unshift(() => application.close());
        const web = await serve(fileOf);
        closers.unshift(() => web.close());
        const session = await Session.start(
            kind, path.resolve(bin, "valdrin-bridge"), { isDark });
        closers.unshift(() => session.close());
        const { browser } = session;
        await browser.resize(1280, 1000);
        await allowPage(session, web, application);
        const settings = await browser.currentTab();
        await browser.openTab(`${web.origin}/#port=${application.port}`);
        await drivePage(browser);
        await browser.switchTo(settings);
        await showPopup(browser, web);
    } finally {
        for (const close of closers)
            await close();
    }
    console.log("All went well.");
}

main().catch((error) => {
    console.error(`demo-page: ${error.stack}`);
    process.exitCode = 1;
});

// Shows the main job: a page in a real browser drives an application. Does
// what a person would do, checks what the page then shows, prints the
// conversation and keeps pictures of it.
//
//   demo-page.mjs BIN PICTURES [APPLICATION]
//
// BIN is the folder of the built programs, APPLICATION one of those below.

import assert from "node:assert/strict";
import { mkdir } from "node:fs/promises";
import path from "node:path";

import { blender, standin } from "../browsers/application.mjs";
import { findBrowser, ROOT, Session } from "../browsers/session.mjs";
import { waitFor } from "../browsers/wait.mjs";
import { serveFolder } from "../browsers/web.mjs";

const [bin, pictures, applicationName = "standin"] = process.argv.slice(2);
const isDark = process.env.COLOURS === "dark";

// What is said in the console, and the answers: texts or patterns.
const APPLICATIONS = {
    standin: {
        start: () => standin(bin),
        hasPicture: false,
        object: "Größe",
        condition: "o['size'] > 2",
        names: "['Größe', 'Ключ']",
        talk: [{
            kind: "Run",
            lines: ["echo Hello from the page"],
            answer: /^Hello from the page$/,
        }, {
            kind: "RunPythonStatements",
            lines: [
                "for sphere in page.spheres.values():",
                "    sphere['size'] *= 1.25",
            ],
            answer: /^\(no output\)$/,
        }, {
            kind: "RunPythonExpression",
            lines: ["round(sum(o['size'] for o in page.objects()), 3)"],
            answer: /^9\.75$/,
        }, {
            kind: "RunPythonExpression",
            lines: ["page.spheres['Größe']['size'] / 0"],
            answer: /^Traceback .*\nZeroDivisionError: float division/s,
        }],
        after: { row: 1, size: "3.75" },
    },
    blender: {
        start: () => blender(),
        hasPicture: true,
        object: "Cube",
        condition: "o['kind'] == 'Mesh'",
        names: "['Cube']",
        talk: [{
            kind: "Run",
            lines: [
                "mesh.primitive_uv_sphere_add radius=1 location=(-1,-2,0)",
                "object.shade_smooth",
            ],
            answer: /^\(no output\)$/,
        }, {
            kind: "RunPythonStatements",
            lines: [
                "sphere = bpy.context.object",
                "sphere.scale.z = 1.5",
                "bpy.context.view_layer.update()",
            ],
            answer: /^\(no output\)$/,
        }, {
            kind: "RunPythonExpression",
            lines: ["[round(size, 3) for size in sphere.dimensions]"],
            answer: /^\[2\.0, 2\.0, 3\.0\]$/,
        }, {
            kind: "Run",
            lines: ["mesh.nothing"],
            answer: /^ERROR: there is no operator "mesh.nothing"$/,
        }],
        after: { row: 4, size: "3.00" },
    },
};

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

// Sends through the console of the page and checks the answer.
async function converse(browser, { kind, lines, answer }) {
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
    const said = await textOf(
        browser, `#log li:nth-child(${count + 2})`,
        (text) => text !== "" && text !== "…");
    say("reply", said);
    console.log();
    assert.match(said, answer);
}

// Moves the chosen object by the keys of the slider, as a person does.
async function moveObject(browser, application) {
    assert.equal(
        await textOf(browser, "#moved"), `Move ${application.object}`);
    const before = await textOf(browser, "#x-value");
    const isRendered = await browser.look(
        "return !document.querySelector('#image').hidden;");
    assert.equal(isRendered, application.hasPicture);
    const lookAtPicture = () => browser.look(
        "return document.querySelector(args[0] ? '#image' : '#drawing')" +
            ".outerHTML;", isRendered);
    const picture = await lookAtPicture();
    for (let step = 0; step < 20; ++step)
        await browser.press("#x", "ArrowRight");
    // The table has a minus sign, and spaces as wide as a digit.
    const wanted =
        (Number(before) + 2).toFixed(1).replace("-", "\u2212");
    const after = await textOf(
        browser, "#objects tr:has(:checked) td:last-child",
        (text) => text.trimStart().startsWith(wanted));
    say("page", `${application.object} goes by 2 to the right`);
    say("reply", `it is at ${after}`);
    await waitFor("another picture",
        async () => await lookAtPicture() !== picture);
    say("page", await textOf(browser, "#times"));
    console.log();
}

async function drivePage(browser, application) {
    await waitFor("the page", () => browser.look(
        "return 'ready' in document.documentElement.dataset;"));
    say("page", await textOf(browser, "#status"));
    await textOf(browser, "#objects");
    await picture(browser, "page");

    const { condition, names } = application;
    const words =
        ["[o['name'] ", "for o in page.objects() ", `if ${condition}]`];
    await browser.clear("#expression");
    for (const word of words)
        await browser.type("#expression", word);
    say("page", words.join(""));
    say("reply", await textOf(browser, "#value", (text) => text === names));
    console.log();

    await moveObject(browser, application);
    for (const exchange of application.talk)
        await converse(browser, exchange);
    const { row, size } = application.after;
    await textOf(
        browser, `#objects tr:nth-child(${row}) td:nth-child(3)`,
        (text) => text === size);
    await picture(browser, "page-used");
}

async function main() {
    const { kind, isThere } = await findBrowser();
    if (!isThere)
        throw new Error(`${kind.program} is not there`);
    await mkdir(pictures, { recursive: true });
    const closers = [];
    try {
        const wanted = APPLICATIONS[applicationName];
        const application = await wanted.start();
        closers.unshift(() => application.close());
        const web = await serveFolder(
            path.join(ROOT, "examples/page"));
        closers.unshift(() => web.close());
        const session = await Session.start(
            kind, path.resolve(bin, "valdrin-bridge"), { isDark });
        closers.unshift(() => session.close());
        const { browser } = session;
        await browser.resize(1280, 1000);
        await allowPage(session, web, application);
        const settings = await browser.currentTab();
        await browser.openTab(`${web.origin}/#port=${application.port}`);
        await drivePage(browser, wanted);
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

// Chromium, driven by its own remote protocol over two pipes: JSON messages,
// each ended by a NUL byte.

import { spawn } from "node:child_process";
import { readFile, writeFile } from "node:fs/promises";
import path from "node:path";

import { DEADLINE_MS, ended, waitFor } from "./wait.mjs";

const PROGRAM = "/usr/bin/chromium";

const KEYS = {
    Enter: { code: 13, text: "\r" },
    Tab: { code: 9 },
    ArrowUp: { code: 38 },
    ArrowDown: { code: 40 },
    ArrowRight: { code: 39 },
};

export class Chromium {
    static program = PROGRAM;
    manifestFolder = "profile/NativeMessagingHosts";
    #process;
    #waiting = new Map();
    #nextId = 1;
    #session;
    #extensionId;
    #rest = [];

    async launch({ home, extension, isDark = false }) {
        this.#start(home, isDark);
        const { id } = await this.#send(
            "Extensions.loadUnpacked", { path: extension }, null);
        this.#extensionId = id;
        const known = await readFile(
            path.join(extension, "chromium-id.txt"), "utf8");
        if (known.trim() !== id)
            throw new Error(`the extension's id is ${id}, not ${known}`);
        const { targetInfos } =
            await this.#send("Target.getTargets", {}, null);
        const page = targetInfos.find((target) => target.type === "page");
        await this.switchTo(page.targetId);
    }

    get manifestCallers() {
        const origin = `chrome-extension://${this.#extensionId}/`;
        return { allowed_origins: [origin] };
    }

    #start(home, isDark) {
        const flags = [
            "--headless=new", "--remote-debugging-pipe",
            "--enable-unsafe-extension-debugging", "--no-first-run",
            "--disable-background-networking", "--disable-component-update",
            "--disable-sync", "--no-default-browser-check", "--disable-gpu",
            "--password-store=basic", "--window-size=1280,900",
            "--proxy-server=127.0.0.1:9", "--proxy-bypass-list=<-loopback>;" +
                "127.0.0.1;localhost",
            `--user-data-dir=${path.join(home, "profile")}`,
        ];
        if (process.getuid() === 0)
            flags.push("--no-sandbox");
        if (isDark)
            flags.push("--force-dark-mode");
        this.#process = spawn(PROGRAM, [...flags, "about:blank"], {
            env: { ...process.env, HOME: home },
            stdio: ["ignore", "ignore",
                process.env.VERBOSE ? 2 : "ignore", "pipe", "pipe"],
        });
        this.#process.stdio[3].on("error", () => {});
        this.#process.stdio[4].setEncoding("utf8").on("data", (text) => {
            this.#take(text);
        });
        this.#process.once("exit", () => {
            for (const { reject } of this.#waiting.values())
                reject(new Error(`${PROGRAM} has ended`));
        });
    }

    #take(text) {
        const pieces = text.split("\0");
        for (const piece of pieces.slice(0, -1)) {
            this.#settle(JSON.parse(this.#rest.join("") + piece));
            this.#rest = [];
        }
        this.#rest.push(pieces.at(-1));
    }

    #settle({ id, error, result }) {
        if (!this.#waiting.has(id))
            return;
        const { resolve, reject } = this.#waiting.get(id);
        this.#waiting.delete(id);
        if (error)
            reject(new Error(error.message));
        else
            resolve(result);
    }

    #send(method, params = {}, sessionId = this.#session) {
        const id = this.#nextId++;
        const message = { id, method, params };
        if (sessionId)
            message.sessionId = sessionId;
        this.#process.stdio[3].write(`${JSON.stringify(message)}\0`);
        return new Promise((resolve, reject) => {
            this.#waiting.set(id, { resolve, reject });
        });
    }

    extensionUrl(file) {
        return `chrome-extension://${this.#extensionId}/${file}`;
    }

    // Goes there and waits until the document is complete.
    async open(url) {
        const answer = await this.#send("Page.navigate", { url });
        if (answer.errorText)
            throw new Error(`${url}: ${answer.errorText}`);
        await waitFor(url, () => this.look(
            "return document.readyState === 'complete';").catch(() => false));
    }

    title() {
        return this.look("return document.title;");
    }

    async openTab(url) {
        const { targetId } = await this.#send(
            "Target.createTarget", { url: "about:blank" }, null);
        await this.switchTo(targetId);
        await this.open(url);
        return targetId;
    }

    async currentTab() {
        const { targetInfo } = await this.#send("Target.getTargetInfo");
        return targetInfo.targetId;
    }

    async switchTo(targetId) {
        await this.#send("Target.activateTarget", { targetId }, null);
        const { sessionId } = await this.#send(
            "Target.attachToTarget", { targetId, flatten: true }, null);
        this.#session = sessionId;
    }

    async closeTab(next) {
        await this.#send(
            "Target.closeTarget", { targetId: await this.currentTab() }, null);
        await this.switchTo(next);
    }

    async #evaluate(expression) {
        const { result, exceptionDetails } = await this.#send(
            "Runtime.evaluate", {
                expression,
                awaitPromise: true,
                returnByValue: true,
                timeout: DEADLINE_MS,
            });
        if (exceptionDetails) {
            const { text, exception } = exceptionDetails;
            throw new Error(exception?.description ?? text);
        }
        return result.value;
    }

    // Scripts of the protocol are bound by no policy of the page.
    look(body, ...args) {
        return this.#evaluate(
            `(async (args) => { ${body} })(${JSON.stringify(args)})`);
    }

    run(body, ...args) {
        return this.#evaluate(
            `(async (args) => { ${body} })(${JSON.stringify(args)}).then(
                (value) => ({ value }),
                (error) => ({ error: { name: error.name, code: error.code,
                    message: String(error.message) } }))`);
    }

    async click(selector) {
        const { x, y } = await waitFor(selector, () => this.look(`
            const element = document.querySelector(args[0]);
            element?.scrollIntoView({ block: "center" });
            const box = element?.getBoundingClientRect();
            return box && box.width > 0 &&
                { x: box.x + box.width / 2, y: box.y + box.height / 2 };`,
        selector));
        for (const type of ["mousePressed", "mouseReleased"]) {
            await this.#send("Input.dispatchMouseEvent", {
                type, x, y, button: "left", clickCount: 1,
            });
        }
    }

    async #focus(selector) {
        await waitFor(selector, () => this.look(`
            const element = document.querySelector(args[0]);
            if (element !== document.activeElement) {
                element?.focus();
                if (element?.selectionEnd !== null)
                    element?.setSelectionRange(
                        element.value.length, element.value.length);
            }
            return Boolean(element);`, selector));
    }

    async type(selector, text) {
        await this.#focus(selector);
        for (const line of text.split(/(\n)/)) {
            if (line === "\n")
                await this.press(selector, "Enter");
            else if (line !== "")
                await this.#send("Input.insertText", { text: line });
        }
    }

    async clear(selector) {
        await this.#focus(selector);
        await this.look(`
            const element = document.querySelector(args[0]);
            element.value = "";
            element.dispatchEvent(new Event("input", { bubbles: true }));`,
        selector);
    }

    async press(selector, key, { shift = false } = {}) {
        await this.#focus(selector);
        const { code, text } = KEYS[key];
        const event = {
            key, code: key, windowsVirtualKeyCode: code,
            modifiers: shift ? 8 : 0,
        };
        await this.#send(
            "Input.dispatchKeyEvent", { type: "keyDown", text, ...event });
        await this.#send(
            "Input.dispatchKeyEvent", { type: "keyUp", ...event });
    }

    // Its question for a permission is no part of any page, and nothing can
    // answer it here. What a person would say is said beforehand, on the
    // browser's own page for extensions.
    async beforeAllow(address) {
        const { hostname, protocol } = new URL(address);
        const back = await this.currentTab();
        await this.openTab("chrome://extensions/");
        await this.look(
            "await chrome.developerPrivate.addHostPermission(...args);",
            this.#extensionId, `${protocol}//${hostname}/*`);
        await this.closeTab(back);
    }

    async screenshot(file) {
        const { data } = await this.#send("Page.captureScreenshot", {
            captureBeyondViewport: true,
        });
        await writeFile(file, Buffer.from(data, "base64"));
    }

    resize(width, height) {
        return this.#send("Emulation.setDeviceMetricsOverride", {
            width, height, deviceScaleFactor: 1, mobile: false,
        });
    }

    // Nothing to say here: see beforeAllow().
    async grant() {}

    async close() {
        if (!this.#process)
            return;
        this.#send("Browser.close", {}, null).catch(() => {});
        await ended(this.#process);
    }
}

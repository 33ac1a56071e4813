// Firefox, driven by its own remote protocol: frames "<length>:<JSON>" on a
// socket of this machine. It has a home and a profile of its own and reaches
// nothing but loopback.

import { spawn } from "node:child_process";
import { mkdir, readFile, writeFile } from "node:fs/promises";
import net from "node:net";
import path from "node:path";

import { DEADLINE_MS, ended, waitFor } from "./wait.mjs";

const PROGRAM = "/usr/bin/firefox-esr";
const ADDON = "valdrin-connection@norvex.com";
const ADDON_UUID = "5e2f9a57-6c1b-4d83-9c40-7a1f0b6d2e11";
const ELEMENT = "element-6066-11e4-a52e-4f735466cecf";

const PREFERENCES = {
    "marionette.port": 0,
    "extensions.webextensions.uuids": JSON.stringify({ [ADDON]: ADDON_UUID }),
    "browser.shell.checkDefaultBrowser": false,
    "browser.startup.page": 0,
    "browser.aboutwelcome.enabled": false,
    "browser.startup.homepage_override.mstone": "ignore",
    "datareporting.policy.dataSubmissionEnabled": false,
    "toolkit.telemetry.server": "",
    // A dead proxy for everything that is not this machine.
    "network.proxy.type": 1,
    "network.proxy.http": "127.0.0.1",
    "network.proxy.http_port": 9,
    "network.proxy.ssl": "127.0.0.1",
    "network.proxy.ssl_port": 9,
    "network.proxy.no_proxies_on": "localhost, 127.0.0.1",
    "network.proxy.failover_direct": false,
    "network.proxy.allow_bypass": false,
    "network.trr.mode": 5,
    "network.dns.disablePrefetch": true,
    "network.prefetch-next": false,
    "network.http.speculative-parallel-limit": 0,
    "network.captive-portal-service.enabled": false,
    "network.connectivity-service.enabled": false,
    "media.gmp-manager.updateEnabled": false,
    "media.gmp-manager.url": "",
    "extensions.systemAddon.update.enabled": false,
    "extensions.update.enabled": false,
    "extensions.getAddons.cache.enabled": false,
    "app.normandy.enabled": false,
    "browser.safebrowsing.malware.enabled": false,
    "browser.safebrowsing.phishing.enabled": false,
    "browser.region.update.enabled": false,
    "dom.push.connection.enabled": false,
    "messaging-system.rsexperimentloader.enabled": false,
};

// The frames on the socket, as a stream of JSON values.
class Frames {
    #bytes = Buffer.alloc(0);

    take(chunk) {
        this.#bytes = Buffer.concat([this.#bytes, chunk]);
        const values = [];
        for (;;) {
            const colon = this.#bytes.indexOf(":");
            if (colon < 0)
                return values;
            const end = colon + 1 +
                Number(this.#bytes.subarray(0, colon).toString());
            if (this.#bytes.length < end)
                return values;
            values.push(
                JSON.parse(this.#bytes.subarray(colon + 1, end).toString()));
            this.#bytes = this.#bytes.subarray(end);
        }
    }
}

export class Firefox {
    static program = PROGRAM;
    manifestFolder = ".mozilla/native-messaging-hosts";
    manifestCallers = { allowed_extensions: [ADDON] };
    #process;
    #socket;
    #waiting = new Map();
    #nextId = 1;

    // Starts the browser. `home` is a folder of its own; with `asks` it puts
    // its questions to the user, otherwise it answers them with yes. With
    // `isTimed` the clocks of pages are exact.
    async launch({
        home, extension, asks = false, isDark = false, isTimed = false,
    }) {
        await this.#start(home, {
            "extensions.webextOptionalPermissionPrompts": asks,
            "layout.css.prefers-color-scheme.content-override": isDark ? 0 : 1,
            "privacy.reduceTimerPrecision": !isTimed,
        });
        await this.#send("WebDriver:NewSession", {});
        await this.#send(
            "WebDriver:SetTimeouts", { script: DEADLINE_MS });
        await this.#send(
            "Addon:Install", { path: extension, temporary: true });
    }

    async #start(home, more) {
        const profile = path.join(home, "profile");
        await mkdir(profile, { recursive: true });
        const lines = Object.entries({ ...PREFERENCES, ...more }).map((pair) =>
            `user_pref(${pair.map((word) => JSON.stringify(word))});\n`);
        await writeFile(path.join(profile, "user.js"), lines.join(""));
        this.#process = spawn(PROGRAM, [
            "--headless", "--no-remote", "--marionette",
            "--remote-allow-system-access", "--profile", profile,
            "--width=1280", "--height=900",
        ], {
            env: { ...process.env, HOME: home, MOZ_CRASHREPORTER_DISABLE: "1" },
            stdio: ["ignore", "ignore", process.env.VERBOSE ? 2 : "ignore"],
        });
        const file = path.join(profile, "MarionetteActivePort");
        const port = await waitFor("Firefox", () => {
            if (this.#process.exitCode !== null)
                throw new Error(`${PROGRAM} ended as it was started`);
            return readFile(file, "utf8").catch(() => null);
        });
        await this.#connect(Number(port));
    }

    #connect(port) {
        return new Promise((resolve, reject) => {
            const frames = new Frames();
            this.#socket = net.connect(port, "127.0.0.1");
            this.#socket.on("error", reject);
            this.#socket.on("data", (chunk) => {
                for (const value of frames.take(chunk)) {
                    if (Array.isArray(value))
                        this.#settle(value);
                    else
                        resolve(); // the greeting
                }
            });
        });
    }

    #settle([, id, error, result]) {
        const { resolve, reject } = this.#waiting.get(id);
        this.#waiting.delete(id);
        if (error)
            reject(new Error(`${error.error}: ${error.message}`));
        else
            resolve(result);
    }

    #send(name, parameters) {
        const id = this.#nextId++;
        const text = JSON.stringify([0, id, name, parameters]);
        this.#socket.write(`${Buffer.byteLength(text)}:${text}`);
        return new Promise((resolve, reject) => {
            this.#waiting.set(id, { resolve, reject });
        });
    }

    extensionUrl(file) {
        return `moz-extension://${ADDON_UUID}/${file}`;
    }

    open(url) {
        return this.#send("WebDriver:Navigate", { url });
    }

    async title() {
        return (await this.#send("WebDriver:GetTitle", {})).value;
    }

    // A new tab, which then is the one that is driven.
    async openTab(url) {
        const { handle } =
            await this.#send("WebDriver:NewWindow", { type: "tab" });
        await this.switchTo(handle);
        await this.open(url);
        return handle;
    }

    async currentTab() {
        return (await this.#send("WebDriver:GetWindowHandle", {})).value;
    }

    switchTo(handle) {
        return this.#send("WebDriver:SwitchToWindow", { handle });
    }

    async closeTab(next) {
        await this.#send("WebDriver:CloseWindow", {});
        await this.switchTo(next);
    }

    // Runs the body of an async function beside the page's scripts, which do
    // not see it and whose policy does not bind it.
    async look(body, ...args) {
        const script = `
            const done = arguments[arguments.length - 1];
            (async (args) => { ${body} })(Array.from(arguments)).then(
                (value) => done({ value }),
                (error) => done({ error: String(error) }));`;
        const { value } = await this.#send(
            "WebDriver:ExecuteAsyncScript", { script, args, newSandbox: true });
        if (value === null)
            throw new Error("the document has gone");
        if (value.error)
            throw new Error(value.error);
        return value.value;
    }

    // Runs the body of an async function as a script of the page itself.
    async run(body, ...args) {
        return JSON.parse(await this.look(`
            const [body, values] = args;
            const name = "test:" + Math.random();
            const answer = new Promise((resolve) => {
                document.addEventListener(
                    name, (event) => resolve(event.detail), { once: true });
            });
            const script = document.createElement("script");
            script.textContent = "(async (args) => {" + body + "})(" + values +
                ").then((value) => ({ value }), (error) => ({ error: { " +
                "name: error.name, code: error.code, " +
                "message: String(error.message) } })).then((result) => " +
                "document.dispatchEvent(new CustomEvent(" +
                JSON.stringify(name) +
                ", { detail: JSON.stringify(result) })));";
            document.documentElement.append(script);
            script.remove();
            return answer;`, body, JSON.stringify(args)));
    }

    async #find(selector) {
        const found = await waitFor(selector, () => this.#send(
            "WebDriver:FindElement", { using: "css selector", value: selector },
        ).catch(() => null));
        return found.value[ELEMENT];
    }

    async click(selector) {
        await this.#send(
            "WebDriver:ElementClick", { id: await this.#find(selector) });
    }

    // Types as a person does, after what the field holds already.
    async type(selector, text) {
        await this.#send("WebDriver:ElementSendKeys", {
            id: await this.#find(selector),
            text: text.replaceAll("\n", "\uE007"),
        });
    }

    async clear(selector) {
        await this.#send(
            "WebDriver:ElementClear", { id: await this.#find(selector) });
    }

    // Questions are answered as they are asked.
    async beforeAllow() {}

    // One of Enter, ArrowUp, ArrowDown and Tab, perhaps with Shift.
    async press(selector, key, { shift = false } = {}) {
        const keys = {
            Enter: "\uE007", ArrowUp: "\uE013", ArrowDown: "\uE015",
            ArrowRight: "\uE014", Tab: "\uE004",
        };
        await this.#send("WebDriver:ElementSendKeys", {
            id: await this.#find(selector),
            text: shift ? `\uE008${keys[key]}` : keys[key],
        });
    }

    // Says yes to the browser's own question for a permission.
    async grant() {
        await this.#send("Marionette:SetContext", { value: "chrome" });
        await waitFor("the browser's question", () => this.look(`
            const question = document.querySelector(
                "#notification-popup popupnotification");
            question?.button?.click();
            return Boolean(question?.button);`));
        await this.#send("Marionette:SetContext", { value: "content" });
    }

    async screenshot(file) {
        const { value } = await this.#send(
            "WebDriver:TakeScreenshot", { full: true });
        await writeFile(file, Buffer.from(value, "base64"));
    }

    resize(width, height) {
        return this.#send("WebDriver:SetWindowRect", { width, height });
    }

    // Ends the browser and waits until it has ended.
    async close() {
        if (!this.#socket) {
            this.#process?.kill("SIGKILL");
            return;
        }
        if (this.#socket.destroyed)
            return;
        this.#socket.removeAllListeners("error");
        this.#socket.on("error", () => {});
        this.#send("Marionette:Quit", { flags: ["eForceQuit"] })
            .catch(() => {});
        await ended(this.#process);
        this.#socket.destroy();
    }
}

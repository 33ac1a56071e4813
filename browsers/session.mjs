// A browser with the extension, its host and a home of its own, which is
// gone after close().

import { access, mkdtemp, rm } from "node:fs/promises";
import os from "node:os";
import path from "node:path";
import { fileURLToPath } from "node:url";

import { Chromium } from "./chromium.mjs";
import { Firefox } from "./firefox.mjs";
import { installHost } from "./host.mjs";
import { waitFor } from "./wait.mjs";

export const ROOT = fileURLToPath(new URL("../", import.meta.url));
export const EXTENSION = path.join(ROOT, "extension");

const BROWSERS = { firefox: Firefox, chromium: Chromium };

// The kind of browser that is asked for, and whether it is there.
export async function findBrowser(name = process.env.BROWSER || "firefox") {
    if (!Object.hasOwn(BROWSERS, name))
        throw new Error(`BROWSER is firefox or chromium, not ${name}`);
    const kind = BROWSERS[name];
    const isThere = await access(kind.program).then(() => true, () => false);
    return { kind, isThere };
}

export class Session {
    static async start(kind, host, options = {}) {
        const session = new Session();
        session.home = await mkdtemp(path.join(os.tmpdir(), "valdrin-page-"));
        try {
            session.browser = new kind();
            await session.browser.launch(
                { home: session.home, extension: EXTENSION, ...options });
            await session.useHost(host);
        } catch (error) {
            await session.close();
            throw error;
        }
        return session;
    }

    // Makes `program` the host from the next connection on.
    useHost(program) {
        return installHost(this.home, this.browser, program);
    }

    // Fills in the form of the settings page, which the current tab shows.
    async allow(address, ports) {
        const { browser } = this;
        await browser.beforeAllow(address);
        await browser.type("#address", address);
        await browser.clear("#ports");
        await browser.type("#ports", ports.join(" "));
        await browser.click("#add button");
    }

    // Waits until the settings page lists `origin`.
    waitForSite(origin) {
        return waitFor(`${origin} in the list`, () => this.browser.look(
            "return [...document.querySelectorAll('#sites > li')]" +
                ".some((row) => row.dataset.origin === args[0]);", origin));
    }

    async close() {
        await this.browser?.close();
        await rm(this.home, {
            recursive: true, force: true, maxRetries: 20, retryDelay: 100,
        });
    }
}

// What the extension asks for when it is installed, and that its files agree.

import assert from "node:assert/strict";
import { access, readFile, readdir } from "node:fs/promises";
import { test } from "node:test";

const FOLDER = new URL("../../extension/", import.meta.url);

async function read(name) {
    return readFile(new URL(name, FOLDER), "utf8");
}

const manifest = JSON.parse(await read("manifest.json"));

test("nothing but the user's word lets it into a page", () => {
    assert.deepEqual(
        manifest.permissions,
        ["activeTab", "nativeMessaging", "scripting", "storage"]);
    for (const key of [
        "host_permissions", "content_scripts", "web_accessible_resources",
        "externally_connectable", "content_security_policy",
    ])
        assert.equal(manifest[key], undefined, key);
});

test("every file that a file names is there", async () => {
    const { background, action, options_ui: options, icons } = manifest;
    const named = [
        ...background.scripts, background.service_worker, options.page,
        action.default_popup, ...Object.values(icons),
        ...Object.values(action.default_icon), "page.js", "relay.js",
        ...[16, 32, 48].map((size) => `icons/on-${size}.png`),
    ];
    for (const name of await readdir(FOLDER)) {
        if (!/\.(html|mjs)$/.test(name))
            continue;
        const text = await read(name);
        const pattern = /(?:src|href|from)[= ]"([^"]+)"/g;
        for (const [, file] of text.matchAll(pattern))
            named.push(file);
    }
    for (const name of named)
        await access(new URL(name, FOLDER));
});

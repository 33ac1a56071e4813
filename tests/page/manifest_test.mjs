// What the extension asks for when it is installed.

import assert from "node:assert/strict";
import { readFile } from "node:fs/promises";
import { test } from "node:test";

const manifest = JSON.parse(await readFile(
    new URL("../../extension/manifest.json", import.meta.url), "utf8"));

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

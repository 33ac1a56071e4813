// What a page without permission can do to the command port, in a real browser:
// make it send an HTTP request with a body of the page's choice. The port closes
// such a connection without an answer and runs nothing.
//
// BROWSER is firefox (or nothing) or chromium, VALDRIN_BIN the folder of the
// built programs.

import assert from "node:assert/strict";
import { execFile } from "node:child_process";
import path from "node:path";
import { after, before, test } from "node:test";
import { promisify } from "node:util";

import { standin } from "../../browsers/application.mjs";
import { findBrowser, Session } from "../../browsers/session.mjs";
import { waitFor } from "../../browsers/wait.mjs";
import { serve } from "../../browsers/web.mjs";

const BIN = process.env.VALDRIN_BIN;

// A whole request of the port. The browser sends it as it stands, in a body.
const REQUEST = "<python_statements>broken_into = True</python_statements>\0";

// Each gives "refused" when the page got no answer; of a form it cannot know.
const ATTEMPTS = [{
    name: "fetch with the request as its body",
    body: `return fetch(address, { method: "POST", mode: "no-cors", body })
        .then((reply) => reply.type, () => "refused");`,
}, {
    name: "a form whose body is plain text",
    body: `const form = document.createElement("form");
        const field = document.createElement("input");
        Object.assign(form, {
            action: address, method: "post", enctype: "text/plain",
            target: "answer",
        });
        Object.assign(field, { type: "hidden", name: body });
        form.append(field);
        document.body.append(form);
        form.submit();
        return "refused";`,
}];

const log = [];
let session;
let web;
let application;

before(async () => {
    const { kind } = await findBrowser();
    application = await standin(BIN, log);
    web = await serve({
        "/": { body: "<body><iframe name='answer'></iframe></body>" },
    });
    session = await Session.start(kind, path.join(BIN, "valdrin-bridge"));
});

after(async () => {
    await session?.close();
    web?.close();
    await application?.close();
});

for (const { name, body } of ATTEMPTS) {
    test(`${name} is closed without an answer`, async () => {
        await session.browser.open(`${web.origin}/`);
        log.length = 0;
        const { value, error } = await session.browser.run(
            `const [address, body] = args; ${body}`,
            `http://127.0.0.1:${application.port}/`, REQUEST);
        assert.equal(error, undefined);
        assert.equal(value, "refused");
        // It did reach the port, which is what is tested.
        await waitFor("the port to close it", () =>
            log.join("").includes("no request: closed without an answer"));
    });
}

test("nothing of it ran", async () => {
    const { stdout } = await promisify(execFile)(
        path.join(BIN, "valdrin"),
        ["--port", String(application.port), "eval",
            "'broken_into' in globals()"]);
    assert.equal(stdout.trim(), "False");
});

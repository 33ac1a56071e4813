// The sample of docs/old-browsers.md, in a platform that treats texts as the old
// one did: the low byte of each character goes out, each byte comes back as one
// character, and only script that has asked may create the component.

import assert from "node:assert";
import { readFileSync } from "node:fs";
import vm from "node:vm";

const page = readFileSync(
    new URL("../../docs/old-browsers.md", import.meta.url),
    "utf8",
);
const [, script] = page.match(/```html\n.*?<script[^>]*>(.*?)<\/script>/s);

const asked = [];
const calls = [];
const fields = {
    command: { value: "echo Größe 5 €" },
    reply: { firstChild: { data: " " } },
};
const component = {
    SetSocketPortNum: (port) => calls.push(port),
    Run(text) {
        const bytes = Buffer.from([...text].map((c) => c.charCodeAt(0) & 255));
        calls.push(bytes.toString("utf8"));
        return bytes.toString("latin1");
    },
};
const platform = vm.createContext({
    escape,
    unescape,
    document: { getElementById: (id) => fields[id] },
    netscape: {
        security: {
            PrivilegeManager: { enablePrivilege: (name) => asked.push(name) },
        },
    },
    Components: {
        interfaces: { IValdrinConnection: "the interface" },
        classes: {
            "@norvex.com/valdrinconnection;1": {
                createInstance(wanted) {
                    assert.deepEqual(asked, ["UniversalXPConnect"]);
                    assert.equal(wanted, "the interface");
                    return component;
                },
            },
        },
    },
});
vm.runInContext(script, platform);
vm.runInContext("run()", platform);
assert.deepEqual(calls, [32153, "echo Größe 5 €"]);
assert.equal(fields.reply.firstChild.data, "echo Größe 5 €");

// What the background makes of a host's frames, and of the words it says.

import assert from "node:assert/strict";
import { test } from "node:test";

import { Answers } from "../../extension/answers.mjs";
import { MAX_REPLY } from "../../extension/decide.mjs";
import { describeCheck, describeSite } from "../../extension/words.mjs";

test("parts go to the one who waits, until the last", () => {
    const answers = new Answers();
    const first = answers.expect("first");
    const second = answers.expect("second");
    assert.deepEqual(
        answers.take({ id: second, part: "b" }),
        { caller: "second", part: "b", last: false });
    assert.deepEqual(
        answers.take({ id: first, part: "", last: true }),
        { caller: "first", part: "", last: true });
    assert.equal(answers.size, 1);
    assert.deepEqual(answers.end(), ["second"]);
    assert.equal(answers.size, 0);
});

test("what is no answer is a fault", () => {
    const rows = [
        { name: "null", frame: null },
        { name: "text", frame: "x" },
        { name: "no id", frame: { part: "x", last: true } },
        { name: "another id", frame: { id: 1, part: "x", last: true } },
        { name: "an id as text", frame: { id: "0", part: "x", last: true } },
        { name: "no part", frame: { id: 0 } },
        { name: "a number as part", frame: { id: 0, part: 7 } },
        { name: "last of another kind",
            frame: { id: 0, part: "x", last: false } },
        { name: "a code of our own",
            frame: { id: 0, error: "origin", message: "x" } },
        { name: "an error without words",
            frame: { id: 0, error: "component" } },
    ];
    for (const { name, frame } of rows) {
        const answers = new Answers();
        answers.expect("caller");
        assert.equal(typeof answers.take(frame).fault, "string", name);
        assert.deepEqual(answers.end(), ["caller"], name);
    }
});

test("a second answer is a fault", () => {
    const answers = new Answers();
    const id = answers.expect("caller");
    answers.take({ id, error: "component", message: "0x80004005" });
    assert.ok(answers.take({ id, part: "", last: true }).fault);
});

test("the host's errors keep their code and words", () => {
    const answers = new Answers();
    const id = answers.expect("caller");
    assert.deepEqual(
        answers.take({ id, error: "argument", message: "no" }),
        { caller: "caller", error: { code: "argument", message: "no" } });
});

test("a reply beyond the limit is refused once and read to its end", () => {
    const answers = new Answers();
    const id = answers.expect("caller");
    const part = "x".repeat(MAX_REPLY / 64);
    for (let i = 0; i < 64; ++i)
        assert.equal(answers.take({ id, part }).error, undefined, `part ${i}`);
    assert.equal(answers.take({ id, part: "x" }).error.code, "host");
    assert.equal(answers.take({ id, part: "x" }).caller, null);
    assert.equal(answers.take({ id, part: "", last: true }).caller, null);
    assert.equal(answers.size, 0);
});

test("nobody is bothered with the answers of those who have gone", () => {
    const answers = new Answers();
    const gone = answers.expect("gone");
    answers.expect("here");
    answers.forget((caller) => caller === "gone");
    assert.equal(answers.size, 2);
    assert.equal(answers.take({ id: gone, part: "x" }).caller, null);
    assert.deepEqual(answers.end(), ["here"]);
});

test("the state of a site is a sentence", () => {
    const rows = [
        { site: { isConnected: false }, text: "Not connected." },
        { site: { isConnected: true, calls: 0 },
            text: "Connected; no call is under way." },
        { site: { isConnected: true, calls: 1, since: 9000 },
            text: "Connected; 1 call under way for 1 second." },
        { site: { isConnected: true, calls: 2, since: 10001 },
            text: "Connected; 2 calls under way for 0 seconds." },
    ];
    for (const { site, text } of rows)
        assert.equal(describeSite(site, 10000), text);
});

test("a test of the connection names what is missing", () => {
    const complete = {
        bridge: "1.2", library: "/lib/x.so", libraryProblem: null,
        port: 32153, application: true, applicationProblem: null,
    };
    const rows = [
        { found: complete, marks: [true, true, true], last: /listens on/ },
        { found: { ...complete, application: false },
            marks: [true, true, false], last: /^No application listens/ },
        { found: { ...complete, library: null, libraryProblem: "lost" },
            marks: [true, false], last: /cannot be used: lost/ },
    ];
    for (const { found, marks, last } of rows) {
        const lines = describeCheck({ text: JSON.stringify(found) }, 32153);
        assert.deepEqual(lines.map((line) => line.isGood), marks);
        assert.match(lines.at(-1).text, last);
    }
    const [line, ...more] =
        describeCheck({ error: { code: "host", message: "gone" } }, 32153);
    assert.equal(more.length, 0);
    assert.match(line.text, /host program .* does not answer.*gone/);
});

// What the background makes of a host's frames.

import assert from "node:assert/strict";
import { test } from "node:test";

import { Answers } from "../../extension/answers.mjs";
import { MAX_REPLY } from "../../extension/decide.mjs";

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
    const frames = {
        "null": null,
        "text": "x",
        "no id": { part: "x", last: true },
        "another id": { id: 1, part: "x", last: true },
        "an id as text": { id: "0", part: "x", last: true },
        "no part": { id: 0 },
        "a number as part": { id: 0, part: 7 },
        "last of another kind": { id: 0, part: "x", last: false },
        "a code of our own": { id: 0, error: "origin", message: "x" },
        "an error without words": { id: 0, error: "component" },
    };
    for (const [name, frame] of Object.entries(frames)) {
        const answers = new Answers();
        answers.expect("caller");
        assert.equal(typeof answers.take(frame).fault, "string", name);
        assert.deepEqual(answers.end(), ["caller"], name);
    }
});

test("the host's errors keep their code and words, and end the call", () => {
    const answers = new Answers();
    const id = answers.expect("caller");
    assert.deepEqual(
        answers.take({ id, error: "argument", message: "no" }),
        { caller: "caller", error: { code: "argument", message: "no" } });
    assert.ok(answers.take({ id, part: "", last: true }).fault);
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

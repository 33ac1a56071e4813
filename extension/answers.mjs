// What the frames of a host mean. A host is another program: whatever it
// sends that is no answer to a question is a lie, and ends it.

import { MAX_REPLY } from "./decide.mjs";

const theErrors = ["argument", "component"];

// The calls that one host has still to answer.
export class Answers {
    #waiting = new Map(); // id at the host -> caller and units so far
    #nextId = 0;

    get size() {
        return this.#waiting.size;
    }

    // The id under which the host shall answer `caller`.
    expect(caller) {
        const id = this.#nextId++;
        this.#waiting.set(id, { caller, units: 0, since: Date.now() });
        return id;
    }

    // When the call that waits longest was made; undefined without one.
    oldest() {
        return this.#waiting.values().next().value?.since;
    }

    // Takes one frame. Gives `fault` when the host lies; otherwise `caller`
    // with the next `part` of its answer (and `last`), with an `error`, or
    // null when nobody waits for this any more.
    take(frame) {
        const id = frame?.id;
        if (!Number.isSafeInteger(id) || !this.#waiting.has(id))
            return { fault: "an answer that nobody waits for" };
        if (Object.hasOwn(frame, "error"))
            return this.#takeError(id, frame);
        const isLast = Object.hasOwn(frame, "last");
        if (typeof frame.part !== "string" || (isLast && frame.last !== true))
            return { fault: "a frame that is no answer" };
        const entry = this.#waiting.get(id);
        entry.units += frame.part.length;
        if (isLast)
            this.#waiting.delete(id);
        const { caller } = entry;
        if (caller && entry.units > MAX_REPLY) {
            // The rest of it is still to come and goes nowhere.
            entry.caller = null;
            const message = "The reply is longer than 67,108,864 units.";
            return { caller, error: { code: "host", message } };
        }
        return { caller, part: frame.part, last: isLast };
    }

    #takeError(id, frame) {
        if (!theErrors.includes(frame.error) ||
            typeof frame.message !== "string")
            return { fault: "a frame that is no answer" };
        const { caller } = this.#waiting.get(id);
        this.#waiting.delete(id);
        const error = { code: frame.error, message: frame.message };
        return { caller, error };
    }

    // Forgets the callers that `isGone` names; their answers, which the host
    // gives all the same, go nowhere.
    forget(isGone) {
        for (const entry of this.#waiting.values()) {
            if (entry.caller && isGone(entry.caller))
                entry.caller = null;
        }
    }

    // Ends all: the callers that still waited.
    end() {
        const entries = [...this.#waiting.values()];
        this.#waiting.clear();
        return entries.map(({ caller }) => caller).filter(Boolean);
    }
}

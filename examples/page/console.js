// A small console: several lines, a history, failures in red.

import { isFailure } from "./application.js";

export class Console {
    #valdrin;
    #log;
    #form;
    #text;
    #kind;
    #history = [];
    #place = 0; // in the history; its end is the line that is being written
    #done;

    // `done` is called after every answer.
    constructor(valdrin, { log, form, text, kind }, done) {
        this.#valdrin = valdrin;
        this.#done = done;
        this.#log = log;
        this.#form = form;
        this.#text = text;
        this.#kind = kind;
        form.addEventListener("submit", (event) => {
            event.preventDefault();
            this.#sendLine();
        });
        text.addEventListener("keydown", (event) => this.#onKey(event));
    }

    #onKey(event) {
        const { key, shiftKey } = event;
        const before = this.#text.value.slice(0, this.#text.selectionStart);
        const after = this.#text.value.slice(this.#text.selectionEnd);
        if (key === "Enter" && !shiftKey && !event.isComposing)
            this.#form.requestSubmit();
        else if (key === "ArrowUp" && !before.includes("\n"))
            this.#recall(this.#place - 1);
        else if (key === "ArrowDown" && !after.includes("\n"))
            this.#recall(this.#place + 1);
        else
            return;
        event.preventDefault();
    }

    #recall(place) {
        if (place < 0 || place > this.#history.length)
            return;
        this.#place = place;
        const { kind, text } = this.#history[place] ?? { text: "" };
        this.#text.value = text;
        if (kind)
            this.#kind.value = kind;
    }

    #sendLine() {
        const kind = this.#kind.value;
        const text = this.#text.value;
        if (text.trim() === "")
            return;
        this.#history.push({ kind, text });
        this.#place = this.#history.length;
        this.#text.value = "";
        this.send(kind, text);
    }

    #write(text, ...classes) {
        const item = document.createElement("li");
        item.classList.add(...classes);
        item.textContent = text;
        this.#log.append(item);
        this.#log.scrollTop = this.#log.scrollHeight;
        return item;
    }

    // Sends `text` by the method `kind` and shows both sides.
    async send(kind, text) {
        this.#write(text.trim(), "question");
        const item = this.#write("…", "reply");
        try {
            const reply = await this.#valdrin[kind](text);
            item.textContent = (reply ?? "").trimEnd() || "(no output)";
            item.classList.toggle("bad", isFailure(reply ?? ""));
        } catch (error) {
            item.textContent = `${error.code}: ${error.message}`;
            item.classList.add("bad");
        }
        this.#log.scrollTop = this.#log.scrollHeight;
        this.#done();
    }
}

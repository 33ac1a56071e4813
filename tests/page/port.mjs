// One end of a connection of the browser, with what was sent.

export class Listeners {
    #listener;

    addListener(listener) {
        this.#listener = listener;
    }

    call(...args) {
        return this.#listener(...args);
    }
}

export class Port {
    onMessage = new Listeners();
    onDisconnect = new Listeners();
    sent = [];

    constructor(name, sender) {
        Object.assign(this, { name, sender });
    }

    postMessage(message) {
        this.sent.push(message);
    }

    disconnect() {
        this.isClosed = true;
    }

    // Has the other end answer a message with the only part of a text.
    answer(message, text = "") {
        this.onMessage.call({ id: message.id, part: text, last: true });
    }
}

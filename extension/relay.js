// Carries calls from the page's world to the background and answers back. It
// holds no secret and no right: whatever runs in the page speaks with the
// page's authority, and the background decides. What it does decide is how
// many calls leave at a time, so that a flood ends here.

(() => {
    "use strict";

    // The page's script makes the same test.
    if (self.origin === "null" || window !== window.top)
        return;

    const MAX_UNDER_WAY = 8;
    const MAX_WAITING = 256;
    const MAX_DETAIL = 16 * 1024 * 1024; // any call that is allowed is shorter

    const api = globalThis.browser ?? globalThis.chrome;
    const underWay = new Set(); // ids
    const queue = new Map();    // id -> call, in the order of arrival
    let port = null;
    let isStarted = false;

    function reply(id, kind, text) {
        const detail = `${id} ${kind} ${text}`;
        document.dispatchEvent(new CustomEvent(
            "valdrin-connection:reply", { detail, cancelable: true }));
    }

    function parse(detail) {
        try {
            return JSON.parse(detail);
        } catch {
            return null;
        }
    }

    function onDisconnect() {
        void api.runtime.lastError; // read, or the browser complains
        port = null;
        const ids = [...underWay, ...queue.keys()];
        underWay.clear();
        queue.clear();
        for (const id of ids)
            reply(id, "disconnected", "The connection was lost.");
    }

    function onMessage(message) {
        if (!underWay.has(message.id))
            return;
        if (message.error) {
            underWay.delete(message.id);
            reply(message.id, message.error.code, message.error.message);
        } else {
            if (message.last)
                underWay.delete(message.id);
            reply(message.id, message.last ? "last" : "part", message.part);
        }
        sendMore();
    }

    function connect() {
        port = api.runtime.connect({ name: "page" });
        port.onMessage.addListener(onMessage);
        port.onDisconnect.addListener(onDisconnect);
    }

    // An element of that name takes the place of the property.
    function isPrerendering() {
        return document.prerendering === true;
    }

    // A page that the browser prepares before anybody opens it waits: it may
    // never be shown, and to the background its document would be that of a
    // frame, for as long as the connection lasts.
    function sendMore() {
        if (isPrerendering())
            return;
        while (underWay.size < MAX_UNDER_WAY && queue.size > 0) {
            const [id, call] = queue.entries().next().value;
            queue.delete(id);
            underWay.add(id);
            try {
                if (!port)
                    connect();
                port.postMessage(call);
            } catch {
                // The extension was updated or removed.
                onDisconnect();
            }
        }
    }

    function onCall(event) {
        const { detail } = event;
        if (typeof detail !== "string" || detail.length > MAX_DETAIL)
            return;
        const call = parse(detail);
        const id = call?.id;
        if (!Number.isSafeInteger(id) || id < 0)
            return;
        event.preventDefault();
        if (underWay.has(id) || queue.has(id)) {
            reply(id, "argument", "A call with this id is under way.");
        } else if (queue.size >= MAX_WAITING) {
            reply(id, "busy", "Too many calls of this page are waiting.");
        } else {
            queue.set(id, { id, method: call.method, args: call.args });
            sendMore();
        }
    }

    // What has left runs to its end; what still waits never starts.
    function onCancel({ detail }) {
        if (typeof detail === "string")
            queue.delete(Number(detail));
    }

    // A page that is left may be kept for the way back; its calls are not.
    function onLeave() {
        port?.disconnect();
        onDisconnect();
    }

    // For the toolbar button. A background that does not answer is no reason
    // to fail in the page.
    function start() {
        if (isStarted || isPrerendering())
            return;
        isStarted = true;
        const greeting = api.runtime.sendMessage({ type: "here" });
        greeting?.catch(() => {});
        sendMore();
    }

    // A document that is opened anew, as document.write() does when it is
    // complete, loses its content and all listeners. Adding one that is there
    // already changes nothing.
    function listen() {
        document.addEventListener("valdrin-connection:call", onCall);
        document.addEventListener("valdrin-connection:cancel", onCancel);
        document.addEventListener("prerenderingchange", start);
        window.addEventListener("pagehide", onLeave);
    }

    listen();
    new MutationObserver(listen).observe(document, { childList: true });
    start();
})();

// Gives a page the class ValdrinConnection. Runs in the page's own world
// before any script of the page, and keeps its own references to what it
// needs: whatever a page does to its globals later confuses only the page.
//
// A call leaves as an event on the document, whose detail is JSON; the relay
// cancels the event to say that it has heard it. An answer comes back as an
// event whose detail is "<id> <kind> <text>". Objects do not cross between
// the worlds alike in all browsers, strings do.

(() => {
    "use strict";

    // The relay makes the same test: a class without a relay would be no use.
    if (self.origin === "null" || window !== window.top)
        return;

    const { Error, Promise, CustomEvent, AbortSignal, MutationObserver } =
        globalThis;
    const { queueMicrotask } = globalThis;
    const { apply } = Reflect;
    const {
        create, defineProperty, freeze, getOwnPropertyDescriptor,
        setPrototypeOf,
    } = Object;
    const { stringify } = JSON;
    const { indexOf, slice } = String.prototype;
    const isInteger = Number.isInteger;
    const { addEventListener, removeEventListener, dispatchEvent } =
        EventTarget.prototype;
    const preventDefault = Event.prototype.preventDefault;
    const detailOf =
        getOwnPropertyDescriptor(CustomEvent.prototype, "detail").get;
    const abortedOf =
        getOwnPropertyDescriptor(AbortSignal.prototype, "aborted").get;
    const reasonOf =
        getOwnPropertyDescriptor(AbortSignal.prototype, "reason").get;
    const theDocument = document;
    const MAX_TEXT = 1024 * 1024; // units; the background refuses more as well

    const waiting = create(null); // id -> how to settle, and the text so far
    let nextId = 0;

    function makeError(code, message) {
        const error = new Error(message);
        const name = "ValdrinConnectionError";
        defineProperty(error, "name", { value: name, configurable: true });
        defineProperty(error, "code", { value: code, enumerable: true });
        return error;
    }

    function send(type, detail) {
        const event = new CustomEvent(type, { detail, cancelable: true });
        return !apply(dispatchEvent, theDocument, [event]);
    }

    // Takes the id out, so that whatever comes for it later is dropped.
    function take(id) {
        const entry = waiting[id];
        delete waiting[id];
        if (entry.signal)
            apply(removeEventListener, entry.signal, ["abort", entry.onAbort]);
        return entry;
    }

    function onReply(event) {
        const detail = apply(detailOf, event, []);
        if (typeof detail !== "string")
            return;
        apply(preventDefault, event, []);
        const first = apply(indexOf, detail, [" "]);
        const second = apply(indexOf, detail, [" ", first + 1]);
        const id = apply(slice, detail, [0, first]);
        const kind = apply(slice, detail, [first + 1, second]);
        const text = apply(slice, detail, [second + 1]);
        const entry = waiting[id];
        if (!entry)
            return;
        if (kind === "part") {
            entry.text += text;
        } else if (kind === "last") {
            take(id).resolve(entry.isVoid ? undefined : entry.text + text);
        } else {
            take(id).reject(makeError(kind, text));
        }
    }

    // A document that is opened anew, as document.write() does when it is
    // complete, loses its content and all listeners. Adding one that is there
    // already changes nothing.
    function listen() {
        const type = "valdrin-connection:reply";
        apply(addEventListener, theDocument, [type, onReply]);
    }

    function signalOf(options) {
        if (options === undefined)
            return undefined;
        if (typeof options !== "object" || options === null)
            throw makeError("argument", "The options are not an object.");
        const { signal } = options;
        if (signal === undefined)
            return undefined;
        try {
            apply(abortedOf, signal, []);
        } catch {
            throw makeError("argument", "The signal is not an AbortSignal.");
        }
        return signal;
    }

    function start(entry, method, args, options) {
        const signal = signalOf(options);
        if (signal && apply(abortedOf, signal, []))
            throw apply(reasonOf, signal, []);
        const id = nextId++;
        waiting[id] = entry;
        if (signal) {
            entry.signal = signal;
            entry.onAbort = () => {
                take(id).reject(apply(reasonOf, signal, []));
                send("valdrin-connection:cancel", `${id}`);
            };
            apply(addEventListener, signal, ["abort", entry.onAbort]);
        }
        // Without prototypes: old libraries give all arrays a toJSON().
        const detail = stringify({
            __proto__: null, id, method, args: setPrototypeOf(args, null),
        });
        if (!send("valdrin-connection:call", detail))
            queueMicrotask(() => sendAgain(id, detail));
    }

    // In a document that was opened anew a moment ago the relay listens again
    // by now.
    function sendAgain(id, detail) {
        if (!waiting[id] || send("valdrin-connection:call", detail))
            return;
        const message = "The connection is gone from this page; reload it.";
        take(id).reject(makeError("disconnected", message));
    }

    function call(method, args, isVoid, options) {
        return new Promise((resolve, reject) => {
            const entry = create(null);
            entry.resolve = resolve;
            entry.reject = reject;
            entry.text = "";
            entry.isVoid = isVoid;
            try {
                start(entry, method, args, options);
            } catch (error) {
                reject(error);
            }
        });
    }

    // A wrong type would reach the background as something else, or not at
    // all: JSON knows no undefined and no NaN.
    function refused(message) {
        return new Promise((_, reject) => {
            reject(makeError("argument", message));
        });
    }

    function callWithText(method, text, isVoid, options) {
        if (typeof text !== "string")
            return refused(`${method} takes a string.`);
        if (text.length > MAX_TEXT)
            return refused("The text is longer than 1,048,576 units.");
        return call(method, [text], isVoid, options);
    }

    class ValdrinConnection {
        constructor() {
            if (new.target === ValdrinConnection)
                freeze(this);
        }

        Run(command, options) {
            return callWithText("Run", command, false, options);
        }

        RunPythonStatements(statements) {
            return callWithText("RunPythonStatements", statements, true);
        }

        RunPythonExpression(expression, options) {
            return callWithText(
                "RunPythonExpression", expression, false, options);
        }

        StashString(text) {
            return callWithText("StashString", text, true);
        }

        GetStashedString() {
            return call("GetStashedString", [], false);
        }

        SetSocketPortNum(port) {
            if (!isInteger(port))
                return refused("SetSocketPortNum takes an integer.");
            return call("SetSocketPortNum", [port], true);
        }
    }

    listen();
    new MutationObserver(listen).observe(theDocument, { childList: true });

    freeze(ValdrinConnection.prototype);
    freeze(ValdrinConnection);
    defineProperty(globalThis, "ValdrinConnection", {
        value: ValdrinConnection,
        writable: false,
        configurable: false,
        enumerable: false,
    });
})();

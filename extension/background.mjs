// Stands between the pages and the hosts: keeps the list of allowed sites,
// one host process per site, and tells the browser where the page scripts
// run. What may happen is decided in decide.mjs; this file does it.

import { Answers } from "./answers.mjs";
import {
    HOST_NAME, callerOf, decide, firstPort, hostKeyOf, idOf, isPort, patternOf,
    siteOf, sitesOf,
} from "./decide.mjs";

const api = globalThis.browser ?? globalThis.chrome;

// A page that follows another one of its site finds the stash and the port
// as they were left.
const KEEP_IDLE_MS = 60000;
// What the last page of a site sent as it was closed still gets through.
const KEEP_BUSY_MS = 5000;
// A permission that the user was asked for is used when it comes soon.
const EXPECT_MS = 120000;

let theSites = new Map();   // origin -> ports; in storage as a list
const thePages = new Set(); // {port, key}
const theHosts = new Map(); // key of a site -> Host
const theWatchers = new Set();

// ------------------------------------------------------------------- hosts

function problemOf(port) {
    // One browser has it on the port, the other one beside.
    return port.error?.message ?? api.runtime.lastError?.message ??
        "it has ended";
}

// A host process and the calls that it has to answer.
class Host {
    #port;
    #answers = new Answers();
    #key;
    #timer;

    constructor(key) {
        this.#key = key;
        this.#port = api.runtime.connectNative(HOST_NAME);
        this.#port.onMessage.addListener((frame) => this.#take(frame));
        this.#port.onDisconnect.addListener((port) => {
            this.#end("host", `The host program: ${problemOf(port)}`);
        });
    }

    get calls() {
        return this.#answers.size;
    }

    get oldest() {
        return this.#answers.oldest();
    }

    // `answer` is called with each {part, last} or {error}.
    ask(page, method, args, answer) {
        clearTimeout(this.#timer);
        const id = this.#answers.expect({ page, answer });
        this.#port.postMessage({ id, method, args });
        changed();
    }

    // Ends the process; callers that wait hear `code` and `message`.
    close(code, message) {
        this.#port.disconnect();
        this.#end(code, message);
    }

    // The last page of the site has gone.
    leave(page) {
        this.#answers.forget((caller) => caller.page === page);
    }

    closeSoon() {
        clearTimeout(this.#timer);
        if (this.#answers.size === 0) {
            this.#timer = setTimeout(() => this.close(), KEEP_IDLE_MS);
            return;
        }
        // The next page does not wait for calls that nobody waits for.
        theHosts.delete(this.#key);
        this.#key = null;
        this.#timer = setTimeout(() => this.close(), KEEP_BUSY_MS);
        changed();
    }

    #take(frame) {
        const { fault, caller, ...answer } = this.#answers.take(frame);
        if (fault) {
            this.close("host", `The host program sent ${fault}.`);
            return;
        }
        caller?.answer(answer);
        if (this.#key === null && this.#answers.size === 0)
            this.close();
        if (!("part" in answer) || answer.last)
            changed();
    }

    #end(code, message) {
        clearTimeout(this.#timer);
        if (theHosts.get(this.#key) === this)
            theHosts.delete(this.#key);
        for (const caller of this.#answers.end())
            caller.answer({ error: { code, message } });
        changed();
    }
}

// The host of a page. It is not to reach a port that is not listed, its own
// default not either.
function hostOf({ key, port: { sender } }) {
    if (!theHosts.has(key)) {
        const host = new Host(key);
        theHosts.set(key, host);
        const port = firstPort(theSites.get(callerOf(sender)));
        if (port !== null)
            host.ask(null, "SetSocketPortNum", [port], () => {});
    }
    return theHosts.get(key);
}

// The hosts of a site: that of its pages and that of its private windows.
function closeHosts(origin, code, message) {
    for (const key of [origin, `${origin} private`])
        theHosts.get(key)?.close(code, message);
}

// ------------------------------------------------------------------- pages

function post(port, message) {
    try {
        port.postMessage(message);
    } catch {
        // The page has gone; its going is dealt with elsewhere.
    }
}

function onCall(page, message) {
    const { port } = page;
    const id = idOf(message);
    const calls = theHosts.get(page.key)?.calls ?? 0;
    const { refusal, method, args } =
        decide(theSites, port.sender, message, calls);
    if (refusal) {
        if (id !== null)
            post(port, { id, error: refusal });
        return;
    }
    hostOf(page).ask(page, method, args, (answer) => {
        post(port, { id, ...answer });
    });
}

function servePage(port) {
    const key = callerOf(port.sender) && hostKeyOf(port.sender);
    const page = { port, key };
    thePages.add(page);
    // The list of sites is there before the first call is decided; what a page
    // sent before it went, even before that, is there when it has gone.
    port.onMessage.addListener((message) => {
        theStart.then(() => onCall(page, message));
    });
    port.onDisconnect.addListener(() => {
        void api.runtime.lastError;
        theStart.then(() => leave(page));
    });
    changed();
}

function leave(page) {
    const { key } = page;
    thePages.delete(page);
    const host = theHosts.get(key);
    host?.leave(page);
    if (host && ![...thePages].some((other) => other.key === key))
        host.closeSoon();
    changed();
}

// ------------------------------------------------------------------- sites

function iconsOf(state) {
    const sizes = [16, 32, 48];
    return Object.fromEntries(
        sizes.map((size) => [size, `icons/${state}-${size}.png`]));
}

async function showInToolbar(tabId, isAllowed) {
    const state = isAllowed ? "on" : "off";
    const title = isAllowed
        ? "Valdrin Connection: this page is allowed"
        : "Valdrin Connection: this page is not allowed";
    try {
        await api.action.setIcon({ tabId, path: iconsOf(state) });
        await api.action.setTitle({ tabId, title });
    } catch {
        // The tab has gone.
    }
}

async function showNotAllowed(origin) {
    const tabs = await api.tabs.query({ url: patternOf(origin) });
    for (const tab of tabs) {
        if (tab.url?.startsWith(`${origin}/`))
            await showInToolbar(tab.id, false);
    }
}

const theScripts = [
    { id: "relay", js: ["relay.js"], world: "ISOLATED" },
    { id: "page", js: ["page.js"], world: "MAIN" },
];

function isAsWanted(registered, wanted) {
    return Object.entries(wanted).every(([key, value]) =>
        JSON.stringify(registered?.[key]) === JSON.stringify(value));
}

// Where the page scripts run: on the allowed hosts and nowhere else. What is
// registered already stays, or is changed in one step: in between, a page that
// is opened would be without them.
async function registerScripts() {
    const { scripting } = api;
    const matches = [...new Set([...theSites.keys()].map(patternOf))].sort();
    const wanted = theScripts.map((script) => ({
        ...script,
        matches,
        runAt: "document_start",
        allFrames: false,
        persistAcrossSessions: true,
    }));
    const ids = wanted.map((script) => script.id);
    const registered = await scripting.getRegisteredContentScripts({ ids });
    const registeredIds = registered.map((script) => script.id);
    if (matches.length > 0 && registered.length === wanted.length) {
        const isSame = wanted.every((script) => isAsWanted(
            registered.find(({ id }) => id === script.id), script));
        if (!isSame)
            await scripting.updateContentScripts(wanted);
        return;
    }
    if (registered.length > 0)
        await scripting.unregisterContentScripts({ ids: registeredIds });
    if (matches.length > 0)
        await scripting.registerContentScripts(wanted);
}

async function saveSites() {
    const sites = [...theSites].map(([origin, ports]) => ({ origin, ports }));
    await api.storage.local.set({ sites });
    await registerScripts();
    changed();
}

function hasPermission(origin) {
    return api.permissions.contains({ origins: [patternOf(origin)] });
}

// Both locks are needed: the browser's permission, which the user gives in
// its own window, and the exact origin here.
async function allow(origin, ports) {
    if (siteOf(origin) !== origin || !Array.isArray(ports) ||
        ports.length === 0 || !ports.every(isPort) ||
        !await hasPermission(origin))
        return false;
    // A host may use a port that is not listed any more.
    if (theSites.get(origin)?.some((port) => !ports.includes(port)))
        closeHosts(origin, "port", `The ports of ${origin} were changed.`);
    theSites.set(origin, ports);
    await saveSites();
    return true;
}

async function remove(origin) {
    theSites.delete(origin);
    closeHosts(origin, "origin", `${origin} is no longer allowed.`);
    await showNotAllowed(origin);
    // First the lock that is there even when the list cannot be stored.
    const pattern = patternOf(origin);
    if (![...theSites.keys()].some((other) => patternOf(other) === pattern))
        await api.permissions.remove({ origins: [pattern] });
    await saveSites();
    return true;
}

// What the user takes back in the browser's own settings is taken back here.
async function dropWithoutPermission() {
    for (const origin of [...theSites.keys()]) {
        if (!await hasPermission(origin))
            await remove(origin);
    }
}

// The browser may end this script while the user thinks about the question, but
// keeps what is stored for its session.
async function expect(origin, ports) {
    const expected = { origin, ports, until: Date.now() + EXPECT_MS };
    await api.storage.session.set({ expected });
    return true;
}

async function useExpected() {
    const { expected } = await api.storage.session.get("expected");
    if (!expected || Date.now() > expected.until)
        return;
    if (await allow(expected.origin, expected.ports))
        await api.storage.session.remove("expected");
}

// The list changes in one step after the other: two at once would register
// the scripts twice.
let theTurn = Promise.resolve();

function inTurn(step) {
    const done = theTurn.then(step);
    theTurn = done.catch(() => {});
    return done;
}

async function start() {
    const { sites } = await api.storage.local.get("sites");
    theSites = sitesOf(sites);
    await registerScripts();
}

// ------------------------------------------------- options and toolbar button

function stateOfSite([origin, ports]) {
    const keys = [origin, `${origin} private`];
    const hosts = keys.map((key) => theHosts.get(key)).filter(Boolean);
    const pages = [...thePages].filter((page) => keys.includes(page.key));
    const oldest = hosts.map((host) => host.oldest).filter(Boolean);
    return {
        origin,
        ports,
        pages: pages.length,
        isConnected: hosts.length > 0,
        calls: hosts.reduce((sum, host) => sum + host.calls, 0),
        since: oldest.length > 0 ? Math.min(...oldest) : null,
    };
}

function state() {
    return [...theSites].map(stateOfSite);
}

let isChangeDue = false;

function changed() {
    if (isChangeDue || theWatchers.size === 0)
        return;
    isChangeDue = true;
    setTimeout(() => {
        isChangeDue = false;
        for (const watcher of theWatchers)
            post(watcher, state());
    }, 100);
}

function watch(port) {
    theWatchers.add(port);
    port.onDisconnect.addListener(() => theWatchers.delete(port));
    theStart.then(() => post(port, state()));
}

// Asks a host of its own, so that no call of a page is in the way.
function check(port) {
    return new Promise((resolve) => {
        const host = new Host(null);
        let text = "";
        host.ask(null, "Check", [port], ({ part, last, error }) => {
            text += part ?? "";
            if (error)
                resolve({ error });
            else if (last)
                resolve({ text });
        });
    });
}

const theRequests = new Map([
    ["allow", ({ origin, ports }) => inTurn(() => allow(origin, ports))],
    ["check", ({ port }) => check(port)],
    ["disconnect", ({ origin }) => {
        closeHosts(origin, "host", "The connection was closed by the user.");
        return true;
    }],
    // The window that asks for a permission may be closed by the question.
    ["expect", ({ origin, ports }) => expect(origin, ports)],
    ["remove", ({ origin }) => inTurn(() => remove(origin))],
    ["state", () => state()],
]);

function isOurPage(sender) {
    return sender.id === api.runtime.id &&
        sender.url?.startsWith(api.runtime.getURL("/"));
}

async function onRequest(message, sender) {
    await theStart;
    if (message?.type === "here") {
        const origin = callerOf(sender);
        if (origin !== null)
            await showInToolbar(sender.tab.id, theSites.has(origin));
        return true;
    }
    if (!isOurPage(sender) || !theRequests.has(message?.type))
        return false;
    return theRequests.get(message.type)(message);
}

// Listeners are there from the first moment: an event may be what started
// this script.
api.runtime.onConnect.addListener((port) => {
    if (port.name === "page")
        servePage(port);
    else if (port.name === "state" && isOurPage(port.sender))
        watch(port);
    else
        port.disconnect();
});
api.runtime.onMessage.addListener((message, sender, respond) => {
    onRequest(message, sender).then(respond, (error) => {
        console.error(error);
        respond(false);
    });
    return true;
});
api.permissions.onAdded.addListener(() => inTurn(useExpected));
api.permissions.onRemoved.addListener(() => inTurn(dropWithoutPermission));

const theStart = inTurn(start).catch(console.error);

// Every decision about a call, without a browser: which documents may call,
// which methods, with what and how often. The background asks before it acts;
// nothing here keeps a state or touches the outside.

export const HOST_NAME = "com.norvex.valdrinconnection";
export const DEFAULT_PORT = 32153;

// In UTF-16 units, as scripts count them.
export const MAX_TEXT = 1024 * 1024;
export const MAX_REPLY = 64 * 1024 * 1024;

// Calls of one site under way at a time, over all its pages. A page alone
// never comes near: its relay lets eight out.
export const MAX_CALLS = 256;

// What each method takes. A map has no inherited keys: "constructor" is as
// unknown as any other name.
const theMethods = new Map([
    ["Run", "text"],
    ["RunPythonStatements", "text"],
    ["RunPythonExpression", "text"],
    ["StashString", "text"],
    ["GetStashedString", "nothing"],
    ["SetSocketPortNum", "port"],
]);

function refuse(code, message) {
    return { refusal: { code, message } };
}

function isRecord(value) {
    return typeof value === "object" && value !== null &&
        !Array.isArray(value);
}

export function isPort(value) {
    return Number.isInteger(value) && value >= 1 && value <= 65535;
}

// Over plain http anybody on the way can become the site; only this machine
// itself is near enough. A star would ask the browser for every host that
// fits, and addresses in brackets fit no permission.
function isOffered(url) {
    if (!/^[a-z0-9._-]+$/.test(url.hostname))
        return false;
    if (url.protocol === "https:")
        return true;
    return url.protocol === "http:" &&
        (url.hostname === "localhost" || url.hostname === "127.0.0.1");
}

function parseUrl(text) {
    try {
        return new URL(text);
    } catch {
        return null;
    }
}

// The exact origin of the address of a page; null when it cannot be allowed.
export function originOf(address) {
    const url = parseUrl(address);
    return url && isOffered(url) ? url.origin : null;
}

// The exact origin of an address as a user types it, or null when it is none
// that can be allowed. Without a scheme it is https, on this machine http.
export function siteOf(text) {
    const trimmed = text.trim();
    let url = parseUrl(trimmed);
    if (!trimmed.includes("://")) {
        url = parseUrl(`https://${trimmed}`);
        if (url && ["localhost", "127.0.0.1"].includes(url.hostname))
            url = parseUrl(`http://${trimmed}`);
    }
    return url && isOffered(url) ? url.origin : null;
}

// What the browser is asked for to run in pages of `origin`. A pattern cannot
// name a port, so that the list of exact origins decides once more.
export function patternOf(origin) {
    const url = new URL(origin);
    return `${url.protocol}//${url.hostname}/*`;
}

// The ports of a list as a user types it, ascending and each once; null when
// something in it is no port or when it is empty.
export function portsOf(text) {
    const words = text.split(/[\s,;]+/).filter((word) => word !== "");
    const ports = words.map((word) => /^[0-9]+$/.test(word) ? Number(word) : 0);
    if (ports.length === 0 || !ports.every(isPort))
        return null;
    return [...new Set(ports)].sort((a, b) => a - b);
}

// The port that a new host of a site has to use instead of its own default;
// null when that one is listed for the site.
export function firstPort(ports) {
    return ports.includes(DEFAULT_PORT) ? null : ports[0] ?? null;
}

// The sites of what was stored, as a map from origin to its ports. Entries
// that no version of ours writes are left out.
export function sitesOf(stored) {
    const sites = new Map();
    if (!Array.isArray(stored))
        return sites;
    for (const site of stored) {
        if (!isRecord(site) || typeof site.origin !== "string" ||
            siteOf(site.origin) !== site.origin || !Array.isArray(site.ports))
            continue;
        const ports = site.ports.filter(isPort);
        if (ports.length > 0)
            sites.set(site.origin, ports);
    }
    return sites;
}

// The origin on whose behalf a message was sent, or null when its sender may
// not call from anywhere. The browser vouches for `origin`; the address only
// takes away: a sandboxed document has the address of its site and the origin
// "null", an about: or blob: document the origin of its site and an address
// of its own.
export function callerOf(sender) {
    if (!isRecord(sender) || typeof sender.origin !== "string")
        return null;
    const url = parseUrl(sender.origin);
    if (!url || url.origin !== sender.origin || !isOffered(url))
        return null;
    if (sender.frameId !== 0 || !isRecord(sender.tab))
        return null;
    if (typeof sender.url !== "string" ||
        !sender.url.startsWith(`${sender.origin}/`))
        return null;
    return sender.origin;
}

// Pages of one origin share a host process, and with it the stash and the
// port; a private window shares nothing with the others.
export function hostKeyOf(sender) {
    return sender.tab.incognito ? `${sender.origin} private` : sender.origin;
}

// The id of a message, by which its sender knows the answer; null when it has
// none, so that nobody could be answered.
export function idOf(message) {
    if (!isRecord(message) || !Object.hasOwn(message, "id") ||
        !Number.isSafeInteger(message.id) || message.id < 0)
        return null;
    return message.id;
}

// Decides about the call `message` of `sender` where the `calls` calls of its
// site are under way. Gives either `refusal`, a code and a sentence, or
// `method` and `args` for the host.
export function decide(sites, sender, message, calls) {
    const origin = callerOf(sender);
    if (origin === null)
        return refuse("origin", "This document may not call the application.");
    if (!sites.has(origin)) {
        return refuse(
            "origin", `${origin} is not allowed to call the application.`);
    }
    if (idOf(message) === null)
        return refuse("argument", "The call has no valid id.");
    const { method, args } = message;
    if (typeof method !== "string" || !theMethods.has(method))
        return refuse("argument", "There is no such method.");
    const takes = theMethods.get(method);
    if (!Array.isArray(args) || args.length !== (takes === "nothing" ? 0 : 1))
        return refuse("argument", `${method} takes fewer or more arguments.`);
    const decision = decideArgument(sites.get(origin), method, takes, args[0]);
    if (decision.refusal)
        return decision;
    if (calls >= MAX_CALLS)
        return refuse("busy", "Too many calls of this site are under way.");
    return { method, ...decision };
}

function decideArgument(ports, method, takes, value) {
    if (takes === "nothing")
        return { args: [] };
    if (takes === "port") {
        if (!Number.isInteger(value))
            return refuse("argument", `${method} takes an integer.`);
        if (!ports.includes(value)) {
            return refuse(
                "port", `Port ${value} is not among those of this site.`);
        }
        return { args: [value] };
    }
    if (typeof value !== "string")
        return refuse("argument", `${method} takes a string.`);
    if (value.length > MAX_TEXT)
        return refuse("argument", "The text is longer than 1,048,576 units.");
    if (value.includes("\0"))
        return refuse("argument", "The text contains a NUL character.");
    return { args: [wellFormed(value)] };
}

// Half a surrogate pair has no UTF-8: it becomes U+FFFD, as in every text
// that a browser encodes.
function wellFormed(text) {
    return text.replace(/\p{Surrogate}/gu, "\uFFFD");
}

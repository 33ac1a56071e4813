// The window of the toolbar button: whether the page of this tab is allowed.

import { DEFAULT_PORT, originOf, patternOf } from "./decide.mjs";
import { describeSite } from "./words.mjs";

const api = globalThis.browser ?? globalThis.chrome;
const $ = (id) => document.getElementById(id);

function send(message) {
    return api.runtime.sendMessage(message);
}

async function currentTab() {
    const query = { active: true, currentWindow: true };
    // A window of its own, as tests open it, names the tab.
    const named = new URLSearchParams(location.search).get("tab");
    if (named !== null)
        return api.tabs.get(Number(named));
    return (await api.tabs.query(query))[0];
}

function show(visible) {
    for (const id of ["allow", "reload", "disconnect", "remove", "warning"])
        $(id).hidden = !visible.includes(id);
}

function say(text) {
    $("state").textContent = text;
}

async function update(origin) {
    const sites = await send({ type: "state" });
    const site = sites.find((candidate) => candidate.origin === origin);
    $("icon").src = site ? "icons/on.svg" : "icons/off.svg";
    if (!site) {
        say("This page is not allowed to drive the application.");
        show(["allow", "warning"]);
        return;
    }
    say(`This page is allowed. ${describeSite(site, Date.now())}`);
    show(site.isConnected ? ["disconnect", "remove"] : ["remove"]);
}

function showReload() {
    say("The page is allowed. Reload it to connect.");
    $("icon").src = "icons/on.svg";
    show(["reload", "remove"]);
    $("reload").focus();
}

// The question closes this window in some browsers; the background, which
// knows what to expect, then allows the site by itself.
function onAllow(origin) {
    const ports = [DEFAULT_PORT];
    send({ type: "expect", origin, ports });
    api.permissions.request({ origins: [patternOf(origin)] })
        .then((isGranted) => isGranted &&
            send({ type: "allow", origin, ports }))
        .then((isAllowed) => {
            if (isAllowed)
                showReload();
            else
                say("The browser did not give permission.");
        })
        .catch((error) => say(error.message));
}

async function start() {
    const tab = await currentTab();
    const origin = tab?.url ? originOf(tab.url) : null;
    $("settings").addEventListener("click", async () => {
        await api.runtime.openOptionsPage();
        window.close();
    });
    if (origin === null) {
        say("Pages of this kind cannot be allowed.");
        return;
    }
    $("address").textContent = origin;
    $("allow").addEventListener("click", () => onAllow(origin));
    $("reload").addEventListener("click", async () => {
        await api.tabs.reload(tab.id);
        window.close();
    });
    $("disconnect").addEventListener("click", async () => {
        await send({ type: "disconnect", origin });
        await update(origin);
    });
    $("remove").addEventListener("click", async () => {
        await send({ type: "remove", origin });
        await update(origin);
    });
    await update(origin);
}

start();
